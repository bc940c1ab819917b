#include "ProgramName.h"

#include "PathText.h"

#include <QCoreApplication>

namespace {

QString& replacedName()
{
    static QString name;
    return name;
}

} // namespace

QString programFileName()
{
    if (!replacedName().isNull()) {
        return replacedName();
    }
    const QStringList arguments = QCoreApplication::arguments();
    return arguments.isEmpty() ? QString() : PathText::lastPathComponent(arguments.first());
}

void setProgramFileName(const QString& name)
{
    replacedName() = name;
}
