#include "DestinationSettings.h"

#include "Addressing.h"
#include "EncryptionSetting.h"
#include "IconSettings.h"
#include "ProgramName.h"
#include "SettingNames.h"
#include "UserDefaults.h"

namespace {

QString destinationIn(const UserDefaults& settings, const QString& subFolder)
{
    const UserDefaults::Reading reading(settings);
    return Addressing::fullPath(settings.string(SettingNames::address), settings.string(SettingNames::ftpFolder),
                                subFolder);
}

} // namespace

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
    return destinationIn(UserDefaults::standard(), Addressing::folderFromAppName(Addressing::appName(fileName)));
}

QString destinationOfOwnServer(const UserDefaults& settings)
{
    return destinationIn(settings, QString());
}

Destination destination()
{
    const UserDefaults::Reading reading(connectionSettings());
    return { .location = createFullDestinationPathFromAppNameAndFTPFolder(),
             .username = username(),
             .password = password(),
             .encryption = encryption() };
}

} // namespace DestinationSettings
