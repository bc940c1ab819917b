#include "ItemLocation.h"

#include "URLText.h"

QString locationOfItem(const QString& place, const QString& name, const QByteArray& rawName)
{
    return rawName.isNull() ? URLText::appendingPathComponent(place, name)
                            : URLText::appendingPathComponent(place, rawName);
}
