#include "StandardFolders.h"
#include "ViewControllerTest.h"

#include <QLineEdit>

namespace {

using ViewControllerSettingsTest = ViewControllerTest;

TEST_F(ViewControllerSettingsTest, SettingsAreReadAfreshAndUnchanged)
{
    EXPECT_EQ(ViewController::username(), u"anna"_s);
    EXPECT_EQ(ViewController::password(), u"secret"_s);
    EXPECT_EQ(ViewController::address(), u"host"_s);
    EXPECT_EQ(ViewController::ftpFolder(), u"in"_s);

    set({ { u"Username"_s, u" a,b;\"c\" "_s } });
    unset(u"Password"_s);

    EXPECT_EQ(ViewController::username(), u" a,b;\"c\" "_s);
    EXPECT_TRUE(ViewController::password().isNull());
}

TEST_F(ViewControllerSettingsTest, EncryptionIsOffOnlyWhenItIsAbsentOrSaidToBe)
{
    EXPECT_EQ(ViewController::encryption(), FTPEncryption::None);
    set({ { u"Encryption"_s, u"none"_s } });
    EXPECT_EQ(ViewController::encryption(), FTPEncryption::None);

    for (const QJsonValue& value :
         { QJsonValue(u"required"_s), QJsonValue(u"Required"_s), QJsonValue(u"requierd"_s), QJsonValue(u"None"_s),
           QJsonValue(u""_s), QJsonValue(u" none"_s), QJsonValue(true), QJsonValue(false), QJsonValue(0) }) {
        SCOPED_TRACE(value.toVariant().toString().toStdString());
        set({ { u"Encryption"_s, value } });

        EXPECT_EQ(ViewController::encryption(), FTPEncryption::Required);
    }
    unset(u"Encryption"_s);
    EXPECT_EQ(ViewController::encryption(), FTPEncryption::None);
}

TEST_F(ViewControllerSettingsTest, EveryTransferTakesTheSettingForEncryption)
{
    set({ { u"Encryption"_s, u"required"_s } });

    control<QLineEdit>("fileToDownloadTextField").setText(u"file.txt"_s);
    control<QLineEdit>("folderToCreateTextField").setText(u"new"_s);

    m_controller->listFTPDestination();
    m_controller->startStopCreate(nullptr);
    m_controller->uploadFiles({ makeFile(u"x"_s) });
    tick();
    m_controller->startStopDownload();

    EXPECT_EQ(m_streams.streams().size(), 4U);
    for (const auto& stream : m_streams.streams()) {
        EXPECT_EQ(stream->encryption, FTPEncryption::Required);
    }
}

TEST_F(ViewControllerSettingsTest, TheDestinationFollowsTheSettingsAtOnce)
{
    EXPECT_EQ(ViewController::createFullDestinationPathFromAppNameAndFTPFolder(), u"ftp://host/in/"_s);

    unset(u"FTPFolder"_s);
    EXPECT_EQ(ViewController::createFullDestinationPathFromAppNameAndFTPFolder(), u"ftp://host/"_s);

    set({ { u"Address"_s, u""_s } });
    EXPECT_TRUE(ViewController::createFullDestinationPathFromAppNameAndFTPFolder().isNull());

    unset(u"Address"_s);
    EXPECT_TRUE(ViewController::createFullDestinationPathFromAppNameAndFTPFolder().isNull());
    EXPECT_TRUE(ViewController::createFullURLFromFTPRootRelativePath(u"a"_s).isNull());
    EXPECT_TRUE(ViewController::createFullPathFromFTPRootRelativePath(u"a"_s).isNull());
}

TEST_F(ViewControllerSettingsTest, ACopyUploadsIntoAFolderOfItsName)
{
    setProgramFileName(u"Scans"_s);
    EXPECT_EQ(ViewController::ourAppName(), u"Scans"_s);
    EXPECT_EQ(ViewController::createFullDestinationPathFromAppNameAndFTPFolder(), u"ftp://host/in/Scans/"_s);

    setProgramFileName(u"A:B.app"_s);
    EXPECT_EQ(ViewController::createFullDestinationPathFromAppNameAndFTPFolder(), u"ftp://host/in/A/B/"_s);

    setProgramFileName(u"Quillbox 2"_s);
    EXPECT_TRUE(ViewController::ftpFolderFromAppName().isNull());
    EXPECT_EQ(ViewController::createFullDestinationPathFromAppNameAndFTPFolder(), u"ftp://host/in/"_s);
}

TEST_F(ViewControllerSettingsTest, TheManualFieldsStandForLocations)
{
    control<QLineEdit>("destinationTextField").setText(u"sub x"_s);
    control<QLineEdit>("fileToDownloadTextField").setText(u"file.txt"_s);
    control<QLineEdit>("fileToUploadTextField").setText(u"up.bin"_s);
    control<QLineEdit>("folderToCreateTextField").setText(u"new"_s);

    EXPECT_EQ(m_controller->destination(), u"ftp://host/in/sub%20x/"_s);
    EXPECT_EQ(m_controller->urlToDownload(), u"ftp://host/in/file.txt/"_s);
    EXPECT_EQ(m_controller->fileToUpload(), downloadsDirectoryPath() + u"/up.bin"_s);
    EXPECT_EQ(m_controller->folderNameToCreate(), u"new/"_s);

    control<QLineEdit>("folderToCreateTextField").setText(u"new/"_s);
    EXPECT_EQ(m_controller->folderNameToCreate(), u"new/"_s);

    unset(u"Address"_s);
    EXPECT_TRUE(m_controller->destination().isNull());
    EXPECT_TRUE(m_controller->urlToDownload().isNull());
}

} // namespace
