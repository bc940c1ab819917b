#include "DestinationSettings.h"
#include "PreferencesController.h"
#include "StandardFolders.h"
#include "TrustedCertificates.h"
#include "ViewControllerTest.h"

#include <QAction>
#include <QLineEdit>

#include <functional>

namespace {

using ViewControllerSettingsTest = ViewControllerTest;

TEST_F(ViewControllerSettingsTest, SettingsAreReadAfreshAndUnchanged)
{
    EXPECT_EQ(DestinationSettings::username(), u"anna"_s);
    EXPECT_EQ(DestinationSettings::password(), u"secret"_s);
    EXPECT_EQ(DestinationSettings::address(), u"host"_s);
    EXPECT_EQ(DestinationSettings::ftpFolder(), u"in"_s);

    const QString odd = u" a,b;\"c\"\t\n "_s;
    set({ { u"Username"_s, odd }, { u"Password"_s, odd }, { u"Address"_s, odd }, { u"FTPFolder"_s, odd } });
    EXPECT_EQ(DestinationSettings::username(), odd);
    EXPECT_EQ(DestinationSettings::password(), odd);
    EXPECT_EQ(DestinationSettings::address(), odd);
    EXPECT_EQ(DestinationSettings::ftpFolder(), odd);

    unset(u"Password"_s);
    EXPECT_TRUE(DestinationSettings::password().isNull());
}

TEST_F(ViewControllerSettingsTest, EncryptionIsOffOnlyWhenItIsAbsentOrSaidToBe)
{
    EXPECT_EQ(DestinationSettings::encryption(), FTPEncryption::None);
    set({ { u"Encryption"_s, u"none"_s } });
    EXPECT_EQ(DestinationSettings::encryption(), FTPEncryption::None);

    for (const QJsonValue& value :
         { QJsonValue(u"required"_s), QJsonValue(u"Required"_s), QJsonValue(u"requierd"_s), QJsonValue(u"None"_s),
           QJsonValue(u""_s), QJsonValue(u" none"_s), QJsonValue(true), QJsonValue(false), QJsonValue(0) }) {
        SCOPED_TRACE(value.toVariant().toString().toStdString());
        set({ { u"Encryption"_s, value } });

        EXPECT_EQ(DestinationSettings::encryption(), FTPEncryption::Required);
    }
    unset(u"Encryption"_s);
    EXPECT_EQ(DestinationSettings::encryption(), FTPEncryption::None);
}

TEST_F(ViewControllerSettingsTest, EncryptionStaysRequiredWhileSomebodyWritesTheFile)
{
    set({ { u"Encryption"_s, u"required"_s } });
    EXPECT_EQ(DestinationSettings::encryption(), FTPEncryption::Required);

    for (const char* contents : { "", "{ \"Encryp", "{}" }) {
        QFile file(UserDefaults::standard().filePath());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(contents);
        file.close();

        EXPECT_EQ(DestinationSettings::encryption(), FTPEncryption::Required) << contents;
    }
}

TEST_F(ViewControllerSettingsTest, EveryTransferTakesTheSettingForEncryption)
{
    set({ { u"Encryption"_s, u"required"_s } });

    control<QLineEdit>("fileToDownloadTextField").setText(u"file.txt"_s);
    control<QLineEdit>("folderToCreateTextField").setText(u"new"_s);

    m_controller->listFTPDestination();
    m_controller->windows().manualTransfers().startStopCreate(nullptr);
    m_controller->uploadFiles({ makeFile(u"x"_s) });
    tick();
    m_controller->windows().manualTransfers().startStopDownload();

    EXPECT_EQ(m_streams.streams().size(), 4U);
    for (const auto& stream : m_streams.streams()) {
        EXPECT_EQ(stream->encryption, FTPEncryption::Required);
    }
}

TEST_F(ViewControllerSettingsTest, OnlyWhatTheUserAsksForIsARequestedConnection)
{
    int requests = 0;
    QObject::connect(m_controller.get(), &ViewController::userRequestedConnection, m_controller.get(),
                     [&requests] { ++requests; });
    const auto requestsOf = [&requests](const std::function<void()>& act) {
        requests = 0;
        act();
        return requests;
    };
    control<QLineEdit>("fileToDownloadTextField").setText(u"file.txt"_s);
    control<QLineEdit>("folderToCreateTextField").setText(u"new"_s);

    EXPECT_EQ(requestsOf([this] { m_controller->window().findChild<QAction*>(u"refreshAction"_s)->trigger(); }), 1);
    EXPECT_EQ(requestsOf([this] { m_controller->windows().manualTransfers().startStopList(nullptr); }),
              0); // Stops that listing.
    EXPECT_EQ(requestsOf([this] { m_controller->windows().manualTransfers().startStopList(nullptr); }), 1);
    EXPECT_EQ(requestsOf([this] { m_controller->windows().manualTransfers().startStopCreate(nullptr); }), 1);
    EXPECT_EQ(requestsOf([this] { m_controller->windows().manualTransfers().startStopCreate(nullptr); }), 0);
    EXPECT_EQ(requestsOf([this] { m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s) }); }), 1);
    EXPECT_EQ(requestsOf([this] {
                  tick();
                  upload().sendOtherError();
                  tick(); // Goes on with the next file.
                  upload().sendOtherError();
                  m_controller->listFTPDestination();
              }),
              0);
    EXPECT_EQ(requestsOf([this] { m_controller->windows().manualTransfers().startStopDownload(); }), 1);
    EXPECT_EQ(requestsOf([this] { m_controller->windows().manualTransfers().startStopDownload(); }), 0);
    EXPECT_EQ(requestsOf([this] { m_controller->items().downloadFile(u"file.txt"_s, QString()); }), 1);
    EXPECT_EQ(requestsOf([this] { m_controller->windows().preferences().doneButton(); }), 1);
}

TEST_F(ViewControllerSettingsTest, AConnectionIsTestedWhereFilesWouldGoAndThatIsARequestedConnection)
{
    int requests = 0;
    QObject::connect(m_controller.get(), &ViewController::userRequestedConnection, m_controller.get(),
                     [&requests] { ++requests; });
    setProgramFileName(u"Scans"_s);
    m_controller->windows().showPreferences();

    m_controller->windows().preferences().view()->findChild<QPushButton*>(u"testButton"_s)->click();

    EXPECT_EQ(requests, 1);
    ASSERT_EQ(m_connections.connectionTestRequests.size(), 1U);
    EXPECT_EQ(m_connections.connectionTestRequests.front().location, u"ftp://host/in/Scans/"_s);
    EXPECT_EQ(m_connections.connectionTestRequests.front().password, u"secret"_s);
    EXPECT_TRUE(m_streams.streams().empty());
}

TEST_F(ViewControllerSettingsTest, ThePanelForgetsTheCertificateOfTheServerThatItShows)
{
    TrustedCertificates& trusted = TrustedCertificates::standard();
    ASSERT_TRUE(trusted.trust(u"host"_s, 21, QByteArray(32, 'a')));
    ASSERT_TRUE(trusted.trust(u"host"_s, 2121, QByteArray(32, 'b')));
    m_controller->windows().showPreferences();
    auto& forget = *m_controller->windows().preferences().view()->findChild<QPushButton*>(u"forgetCertificateButton"_s);
    EXPECT_TRUE(forget.isEnabled());

    m_controller->windows().preferences().addressTextField()->setText(u"elsewhere"_s);
    EXPECT_FALSE(forget.isEnabled());
    m_controller->windows().preferences().addressTextField()->setText(u"HOST"_s);
    forget.click();

    EXPECT_FALSE(forget.isEnabled());
    EXPECT_FALSE(m_connections.closedIdle.isEmpty()); // What was logged in under it is not used again.
    EXPECT_TRUE(trusted.fingerprint(u"host"_s, 21).isEmpty());
    EXPECT_FALSE(trusted.fingerprint(u"host"_s, 2121).isEmpty());
    QFile::remove(trusted.filePath());
}

TEST_F(ViewControllerSettingsTest, TheDestinationFollowsTheSettingsAtOnce)
{
    EXPECT_EQ(DestinationSettings::createFullDestinationPathFromAppNameAndFTPFolder(), u"ftp://host/in/"_s);

    unset(u"FTPFolder"_s);
    EXPECT_EQ(DestinationSettings::createFullDestinationPathFromAppNameAndFTPFolder(), u"ftp://host/"_s);

    set({ { u"Address"_s, u""_s } });
    EXPECT_TRUE(DestinationSettings::createFullDestinationPathFromAppNameAndFTPFolder().isNull());

    unset(u"Address"_s);
    EXPECT_TRUE(DestinationSettings::createFullDestinationPathFromAppNameAndFTPFolder().isNull());
    EXPECT_TRUE(DestinationSettings::createFullURLFromFTPRootRelativePath(u"a"_s).isNull());
    EXPECT_TRUE(DestinationSettings::createFullPathFromFTPRootRelativePath(u"a"_s).isNull());
}

TEST_F(ViewControllerSettingsTest, ACopyUploadsIntoAFolderOfItsName)
{
    setProgramFileName(u"Scans"_s);
    EXPECT_EQ(DestinationSettings::ourAppName(), u"Scans"_s);
    EXPECT_EQ(DestinationSettings::createFullDestinationPathFromAppNameAndFTPFolder(), u"ftp://host/in/Scans/"_s);

    setProgramFileName(u"A:B.app"_s);
    EXPECT_EQ(DestinationSettings::createFullDestinationPathFromAppNameAndFTPFolder(), u"ftp://host/in/A/B/"_s);

    setProgramFileName(u"Quillbox 2"_s);
    EXPECT_TRUE(DestinationSettings::ftpFolderFromAppName().isNull());
    EXPECT_EQ(DestinationSettings::createFullDestinationPathFromAppNameAndFTPFolder(), u"ftp://host/in/"_s);
}

TEST_F(ViewControllerSettingsTest, TheManualFieldsStandForLocations)
{
    control<QLineEdit>("destinationTextField").setText(u"sub x"_s);
    control<QLineEdit>("fileToDownloadTextField").setText(u"file.txt"_s);
    control<QLineEdit>("fileToUploadTextField").setText(u"up.bin"_s);
    control<QLineEdit>("folderToCreateTextField").setText(u"new"_s);

    EXPECT_EQ(m_controller->windows().manualTransfers().destination(), u"ftp://host/in/sub%20x/"_s);
    EXPECT_EQ(m_controller->windows().manualTransfers().urlToDownload(), u"ftp://host/in/file.txt/"_s);
    EXPECT_EQ(m_controller->windows().manualTransfers().fileToUpload(), downloadsDirectoryPath() + u"/up.bin"_s);
    EXPECT_EQ(m_controller->windows().manualTransfers().folderNameToCreate(), u"new/"_s);

    control<QLineEdit>("folderToCreateTextField").setText(u"new/"_s);
    EXPECT_EQ(m_controller->windows().manualTransfers().folderNameToCreate(), u"new/"_s);

    unset(u"Address"_s);
    EXPECT_TRUE(m_controller->windows().manualTransfers().destination().isNull());
    EXPECT_TRUE(m_controller->windows().manualTransfers().urlToDownload().isNull());
}

} // namespace
