// Settings, the destination, and what the manual fields stand for.

#include "Addressing.h"
#include "EncryptionSetting.h"
#include "PathText.h"
#include "ProgramName.h"
#include "StandardFolders.h"
#include "UserDefaults.h"
#include "ViewController.h"
#include "ui_ManualTransfers.h"

using namespace Qt::StringLiterals;

QString ViewController::username()
{
    return UserDefaults::standard().string(u"Username"_s);
}
QString ViewController::password()
{
    return UserDefaults::standard().string(u"Password"_s);
}
QString ViewController::address()
{
    return UserDefaults::standard().string(u"Address"_s);
}
QString ViewController::ftpFolder()
{
    return UserDefaults::standard().string(u"FTPFolder"_s);
}
FTPEncryption ViewController::encryption()
{
    return encryptionSetting(UserDefaults::standard());
}

QString ViewController::ourAppName()
{
    return Addressing::appName(programFileName());
}
QString ViewController::ftpFolderFromAppName()
{
    return Addressing::folderFromAppName(ourAppName());
}

QString ViewController::createFullURLFromFTPRootRelativePath(const QString& path)
{
    return Addressing::fullURL(address(), ftpFolder(), path);
}

QString ViewController::createFullPathFromFTPRootRelativePath(const QString& path)
{
    return Addressing::fullPath(address(), ftpFolder(), path);
}

QString ViewController::createFullDestinationPathFromAppNameAndFTPFolder()
{
    return createFullPathFromFTPRootRelativePath(ftpFolderFromAppName());
}

QString ViewController::destination() const
{
    const QString path = createFullPathFromFTPRootRelativePath(m_manual->destinationTextField->text());
    return path.isNull() ? QString() : Addressing::withTrailingSlash(path);
}

QString ViewController::urlToDownload() const
{
    return createFullPathFromFTPRootRelativePath(m_manual->fileToDownloadTextField->text());
}

QString ViewController::fileToUpload() const
{
    return PathText::appendingPathComponent(downloadsDirectoryPath(), m_manual->fileToUploadTextField->text());
}

QString ViewController::folderNameToCreate() const
{
    return Addressing::withTrailingSlash(m_manual->folderToCreateTextField->text());
}
