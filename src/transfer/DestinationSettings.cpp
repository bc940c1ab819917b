#include "DestinationSettings.h"

#include "Addressing.h"
#include "EncryptionSetting.h"
#include "IconSettings.h"
#include "ProgramName.h"
#include "SettingNames.h"
#include "SettingsAlert.h"
#include "UserDefaults.h"

using namespace Qt::StringLiterals;

namespace DestinationSettings {

QString username()
{
    return connectionSettings().string(SettingNames::username);
}

QString password()
{
    return connectionSettings().string(SettingNames::password);
}

QString address()
{
    return connectionSettings().string(SettingNames::address);
}

QString ftpFolder()
{
    return connectionSettings().string(SettingNames::ftpFolder);
}

FTPEncryption encryption()
{
    return encryptionSetting(connectionSettings());
}

QString ourAppName()
{
    return Addressing::appName(programFileName());
}

QString ftpFolderFromAppName()
{
    return IconSettings::areInUse() ? QString() : Addressing::folderFromAppName(ourAppName());
}

QString createFullURLFromFTPRootRelativePath(const QString& path)
{
    return Addressing::fullURL(address(), ftpFolder(), path);
}

QString createFullPathFromFTPRootRelativePath(const QString& path)
{
    return Addressing::fullPath(address(), ftpFolder(), path);
}

QString createFullDestinationPathFromAppNameAndFTPFolder()
{
    return createFullPathFromFTPRootRelativePath(ftpFolderFromAppName());
}

QString destinationOfSubFolderIcon(const QString& fileName)
{
    const UserDefaults& settings = UserDefaults::standard();
    const UserDefaults::Reading reading(settings);
    return Addressing::fullPath(settings.string(SettingNames::address), settings.string(SettingNames::ftpFolder),
                                Addressing::folderFromAppName(Addressing::appName(fileName)));
}

Destination destination()
{
    const UserDefaults::Reading reading(connectionSettings());
    return { .location = createFullDestinationPathFromAppNameAndFTPFolder(),
             .username = username(),
             .password = password(),
             .encryption = encryption() };
}

QString whyThereIsNoDestination()
{
    const UserDefaults& settings = connectionSettings();
    if (settings.isReadable()) {
        return u"No Destination"_s;
    }
    return (IconSettings::areInUse() ? SettingsAlert::iconBroken(settings) : SettingsAlert::broken(settings)).title;
}

} // namespace DestinationSettings
