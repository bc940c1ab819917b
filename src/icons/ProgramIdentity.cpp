#include "ProgramIdentity.h"

#include "BusName.h"
#include "DesktopEntry.h"
#include "IconFiles.h"

#include <QGuiApplication>
#include <QIcon>
#include <QPixmap>
#include <QSize>
#include <QStandardPaths>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

/// The path of the launcher that is called @p name; empty where there is none.
QString launcherPath(const QString& name)
{
    return QStandardPaths::locate(QStandardPaths::ApplicationsLocation, name + DesktopEntry::suffix);
}

} // namespace

QIcon ProgramIdentity::productIcon()
{
    QIcon icon;
    for (const int edge : { QUILLBOX_ICON_EDGES }) {
        icon.addFile(u":/icons/%1x%1/%2.png"_s.arg(QString::number(edge), productIconName()), QSize(edge, edge));
    }
    return icon;
}

QString ProgramIdentity::productIconName()
{
    return busName(u"Quillbox"_s);
}

QIcon ProgramIdentity::icon(const QString& programName)
{
    const IconPicture picture = IconFiles::pictureOf(launcherPath(busName(programName)));
    if (!picture.isOwn()) {
        return productIcon();
    }
    QIcon icon;
    for (const int edge : { QUILLBOX_ICON_EDGES }) {
        icon.addPixmap(QPixmap::fromImage(drawn(picture, edge)));
    }
    return icon;
}

QString ProgramIdentity::notificationIcon(const QString& programName)
{
    const QString path = launcherPath(busName(programName));
    const QString image = DesktopEntry::read(path, QLatin1String("Icon"));
    return IconFiles::pictureOf(path).isOwn() ? QUrl::fromLocalFile(image).toString(QUrl::FullyEncoded)
                                              : productIconName();
}

QString ProgramIdentity::launcher(const QString& programName)
{
    QString own = busName(programName);
    return launcherPath(own).isEmpty() ? productIconName() : own;
}

void ProgramIdentity::apply(const QString& programName)
{
    QGuiApplication::setWindowIcon(icon(programName));
    QGuiApplication::setDesktopFileName(launcher(programName));
}
