#include "DestinationSettings.h"

#include "Addressing.h"
#include "EncryptionSetting.h"
#include "ProgramName.h"
#include "UserDefaults.h"

using namespace Qt::StringLiterals;

namespace DestinationSettings {

QString username()
{
    return UserDefaults::standard().string(u"Username"_s);
}

QString password()
{
    return UserDefaults::standard().string(u"Password"_s);
}

QString address()
{
    return UserDefaults::standard().string(u"Address"_s);
}

QString ftpFolder()
{
    return UserDefaults::standard().string(u"FTPFolder"_s);
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
