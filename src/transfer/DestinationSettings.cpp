#include "DestinationSettings.h"

#include "Addressing.h"
#include "EncryptionSetting.h"
#include "ProgramName.h"
#include "SettingNames.h"
#include "UserDefaults.h"

namespace DestinationSettings {

QString username()
{
    return UserDefaults::standard().string(SettingNames::username);
}

QString password()
{
    return UserDefaults::standard().string(SettingNames::password);
}

QString address()
{
    return UserDefaults::standard().string(SettingNames::address);
}

QString ftpFolder()
{
    return UserDefaults::standard().string(SettingNames::ftpFolder);
}

FTPEncryption encryption()
{
    return encryptionSetting(UserDefaults::standard());
}

QString ourAppName()
{
    return Addressing::appName(programFileName());
}

QString ftpFolderFromAppName()
{
    return Addressing::folderFromAppName(ourAppName());
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

Destination destination()
{
    const UserDefaults::Reading reading(UserDefaults::standard());
    return { .location = createFullDestinationPathFromAppNameAndFTPFolder(),
             .username = username(),
             .password = password(),
             .encryption = encryption() };
}

} // namespace DestinationSettings
