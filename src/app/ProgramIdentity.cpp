#include "ProgramIdentity.h"

#include "ApplicationService.h"

#include <QGuiApplication>
#include <QIcon>
#include <QSize>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

QIcon ProgramIdentity::icon()
{
    QIcon icon;
    for (const int edge : { QUILLBOX_ICON_EDGES }) {
        icon.addFile(u":/icons/%1x%1/io.github.quillbox.Quillbox.png"_s.arg(edge), QSize(edge, edge));
    }
    return icon;
}

QString ProgramIdentity::launcher(const QString& programName)
{
    QString own = ApplicationService::busName(programName);
    const bool isInstalled
        = !QStandardPaths::locate(QStandardPaths::ApplicationsLocation, own + u".desktop"_s).isEmpty();
    return isInstalled ? own : ApplicationService::busName(u"Quillbox"_s);
}

void ProgramIdentity::apply(const QString& programName)
{
    QGuiApplication::setWindowIcon(icon());
    QGuiApplication::setDesktopFileName(launcher(programName));
}
