#include "IconDestination.h"

#include "Addressing.h"
#include "DestinationSettings.h"
#include "IconSettings.h"
#include "SettingNames.h"
#include "UserDefaults.h"

#include <QJsonObject>

QString destinationOf(const DropIcons::Icon& icon)
{
    const QString fileName = IconName::fileName(icon.name);
    if (icon.sort == IconSort::SubFolder) {
        return DestinationSettings::destinationOfSubFolderIcon(fileName);
    }
    const QJsonObject settings = UserDefaults::valuesIn(IconSettings::filePath(fileName)).value_or(QJsonObject());
    return Addressing::fullPath(settings.value(SettingNames::address).toString(),
                                settings.value(SettingNames::ftpFolder).toString(), QString());
}
