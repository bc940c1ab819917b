#include "IconDestination.h"

#include "Addressing.h"
#include "DestinationSettings.h"
#include "IconSettings.h"
#include "SettingNames.h"
#include "UserDefaults.h"

#include <QFileInfo>
#include <QJsonObject>

using namespace Qt::StringLiterals;

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

QString whyNowhere(const DropIcons::Icon& icon)
{
    if (icon.sort == IconSort::SubFolder) {
        return UserDefaults::standard().isReadable() ? u"no server yet"_s : u"the main settings cannot be read"_s;
    }
    const QString settings = IconSettings::filePath(IconName::fileName(icon.name));
    if (UserDefaults::valuesIn(settings)) {
        return u"its settings name no server"_s;
    }
    return QFileInfo::exists(settings) ? u"its settings cannot be read"_s : u"its settings are gone"_s;
}
