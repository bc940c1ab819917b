#include "ProgramIdentity.h"

#include "BusName.h"

#include <QGuiApplication>
#include <QIcon>
#include <QSize>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

QIcon ProgramIdentity::icon()
{
    QIcon icon;
    for (const int edge : { QUILLBOX_ICON_EDGES }) {
        icon.addFile(u":/icons/%1x%1/%2.png"_s.arg(QString::number(edge), iconName()), QSize(edge, edge));
    }
    return icon;
}

QString ProgramIdentity::iconName()
{
    return busName(u"Quillbox"_s);
}

QString ProgramIdentity::launcher(const QString& programName)
{
    QString own = busName(programName);
    const bool isInstalled
        = !QStandardPaths::locate(QStandardPaths::ApplicationsLocation, own + u".desktop"_s).isEmpty();
    return isInstalled ? own : busName(u"Quillbox"_s);
}

void ProgramIdentity::apply(const QString& programName)
{
    QGuiApplication::setWindowIcon(icon());
    QGuiApplication::setDesktopFileName(launcher(programName));
}
