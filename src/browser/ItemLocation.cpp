#include "ItemLocation.h"

#include "PathText.h"
#include "URLText.h"

QString locationOfItem(const QString& folder, const QString& name, const QByteArray& rawName)
{
    return rawName.isNull() ? URLText::appendingPathComponent(folder, name)
                            : URLText::appendingPathComponent(folder, rawName);
}

QString localFileOfItem(const QString& folder, const QString& name)
{
    return PathText::appendingPathComponent(folder, PathText::localFileName(name));
}
