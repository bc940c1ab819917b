#include "IconDestination.h"

#include "Addressing.h"
#include "DestinationSettings.h"
#include "IconSettings.h"
#include "SettingNames.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

namespace {

constexpr qint64 mostBytes = 1'048'576; ///< Of settings.

QJsonObject settingsOf(const QString& fileName)
{
    QFile file(IconSettings::filePath(fileName));
    const bool isReadable = QFileInfo(file).isFile() && file.open(QIODevice::ReadOnly) && file.size() <= mostBytes;
    return isReadable ? QJsonDocument::fromJson(file.readAll()).object() : QJsonObject();
}

QString textIn(const QJsonObject& settings, const QString& key)
{
    const QJsonValue value = settings.value(key);
    return value.isString() ? value.toString() : QString();
}

} // namespace

QString destinationOf(const DropIcons::Icon& icon)
{
    const QString fileName = IconName::fileName(icon.name);
    if (icon.sort == IconSort::SubFolder) {
        return DestinationSettings::destinationOfSubFolderIcon(fileName);
    }
    const QJsonObject settings = settingsOf(fileName);
    return Addressing::fullPath(textIn(settings, SettingNames::address), textIn(settings, SettingNames::ftpFolder),
                                QString());
}
