#include "DelayedAlert.h"
#include "Delays.h"
#include "SettingNames.h"
#include "TrustedCertificates.h"
#include "ViewControllerTest.h"

#include <QSignalSpy>

namespace {

/// Files that somebody uploads who cannot be asked.
class UnattendedUploadsTest : public ViewControllerTest {
protected:
    void uploadUnattended(const QStringList& paths) { m_controller->upload({ paths, {}, { 1, true } }); }
    static void write(const QByteArray& settings)
    {
        QFile file(UserDefaults::standard().filePath());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(settings), settings.size());
    }
    static QByteArray contents(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    void sendNext()
    {
        tick();
        upload().sendOpenCompleted();
        while (upload().isOpen()) {
            upload().sendHasSpace();
        }
    }
    HistoryEntry row(int number) const { return m_controller->history().entries()[number]; }
};

TEST_F(UnattendedUploadsTest, NobodyIsAskedAboutTheCertificateOfAnUploadAndTheWordsSayWhatIsWrong)
{
    QSignalSpy requests(m_controller.get(), &ViewController::userRequestedConnection);
    uploadUnattended({ makeFile(u"a"_s) });
    tick();
    EXPECT_TRUE(upload().asksNobody);
    upload().error = { FTPStreamError::Domain::Certificate, 0 };
    upload().send(FTPStreamEvent::ErrorOccurred);

    EXPECT_EQ(row(0).status, u"the server’s certificate is not trusted"_s);
    EXPECT_EQ(requests.size(), 0);

    ASSERT_TRUE(TrustedCertificates::standard().trust(u"host"_s, 21, QByteArray(32, 'f')));
    uploadUnattended({ makeFile(u"a"_s) });
    tick();
    upload().error = { FTPStreamError::Domain::Certificate, 0 };
    upload().send(FTPStreamEvent::ErrorOccurred);
    EXPECT_EQ(row(1).status, u"the server has shown another certificate than the one that is trusted"_s);
    EXPECT_TRUE(QFile::remove(TrustedCertificates::standard().filePath()));

    m_controller->uploadFiles({ makeFile(u"b"_s) });
    tick();
    EXPECT_FALSE(upload().asksNobody);
    EXPECT_EQ(requests.size(), 1);
}

TEST_F(UnattendedUploadsTest, FilesBehindOneThatWaitsForAnAnswerAboutTheCertificateFailAndOthersGoOnWaiting)
{
    uploadUnattended({ makeFile(u"before"_s) });
    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s) });
    uploadUnattended({ makeFile(u"c"_s), makeFile(u"d"_s) });
    sendNext();
    tick();
    EXPECT_EQ(row(3).outcome, UploadOutcome::Kind::Waiting);

    upload().isAwaitingTrust = true;
    tick();
    EXPECT_EQ(row(0).outcome, UploadOutcome::Kind::Confirmed);
    EXPECT_EQ(row(1).outcome, UploadOutcome::Kind::Sending);
    EXPECT_EQ(m_controller->fileUploadQueue(), QStringList{ row(2).path });
    for (const int number : { 3, 4 }) {
        EXPECT_EQ(row(number).outcome, UploadOutcome::Kind::Failed);
        EXPECT_EQ(row(number).status, u"the server’s certificate is not trusted"_s);
        EXPECT_EQ(row(number).destination, row(1).destination);
    }

    uploadUnattended({ makeFile(u"e"_s) });
    tick();
    EXPECT_EQ(row(5).outcome, UploadOutcome::Kind::Failed);
    EXPECT_EQ(shownSheets(), QStringList());

    ASSERT_TRUE(TrustedCertificates::standard().trust(u"host"_s, 21, QByteArray(32, 'f')));
    uploadUnattended({ makeFile(u"f"_s) });
    tick();
    EXPECT_EQ(row(6).outcome, UploadOutcome::Kind::Waiting); // The answer is known.
    EXPECT_TRUE(QFile::remove(TrustedCertificates::standard().filePath()));
    set(u"Address"_s, u"other"_s); // Which may well be trusted.
    uploadUnattended({ makeFile(u"g"_s) });
    tick();
    EXPECT_EQ(row(6).outcome, UploadOutcome::Kind::Waiting);
    EXPECT_EQ(row(7).outcome, UploadOutcome::Kind::Waiting);
}

TEST_F(UnattendedUploadsTest, SoDoThoseThatHaveWaitedForADestination)
{
    unset(u"Address"_s);
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    uploadUnattended({ makeFile(u"b"_s) });
    tick();
    set(u"Address"_s, u"host"_s);
    tick();
    EXPECT_EQ(row(0).outcome, UploadOutcome::Kind::Sending);
    EXPECT_EQ(m_controller->fileUploadQueue().size(), 1);

    upload().isAwaitingTrust = true;
    tick();

    EXPECT_EQ(row(1).outcome, UploadOutcome::Kind::Failed);
}

TEST_F(UnattendedUploadsTest, NoAlertIsRaised)
{
    setDelayedAlertPresenter(nullptr); // Nothing counts as told.
    NetworkManager::setReachabilitySource([] { return ReachabilityFlags(); });
    uploadUnattended({ makeFile(u"a"_s) });
    tick();
    EXPECT_TRUE(delaysOf(*qApp).isEmpty());
    upload().sendOtherError();
    m_controller->uploadFiles({ makeFile(u"b"_s) });
    tick();

    EXPECT_EQ(delaysOf(*qApp), QList<int>{ 1000 });
    passDelaysOf(*qApp);
}

TEST_F(UnattendedUploadsTest, TheListingThatFollowsAsksNobodyAndIsSilentUntilTheUserWantsSomething)
{
    uploadUnattended({ makeFile(u"a"_s) });
    sendNext();
    ASSERT_TRUE(latest(Kind::Listing).isOpen());
    EXPECT_TRUE(latest(Kind::Listing).asksNobody);
    latest(Kind::Listing).sendOtherError();
    latest(Kind::Listing).sendRefusal(530);
    EXPECT_EQ(shownSheets(), QStringList());

    m_controller->refresh();
    EXPECT_FALSE(latest(Kind::Listing).asksNobody);
    latest(Kind::Listing).sendRefusal(530);
    EXPECT_EQ(shownSheets().size(), 1);
}

TEST_F(UnattendedUploadsTest, TheListingAfterAQueueThatHasFilesOfTheUserToo)
{
    uploadUnattended({ makeFile(u"a"_s) });
    m_controller->uploadFiles({ makeFile(u"b"_s) });
    uploadUnattended({ makeFile(u"c"_s) });
    sendNext();
    sendNext();
    sendNext();

    EXPECT_FALSE(latest(Kind::Listing).asksNobody);
}

TEST_F(UnattendedUploadsTest, AFileIsNotTriedAgainByItself)
{
    set(SettingNames::retryFailedFiles, true);
    uploadUnattended({ makeFile(u"a"_s) });
    m_controller->uploadFiles({ makeFile(u"b"_s) });
    tick();
    upload().sendOtherError();
    tick();
    upload().sendOtherError();

    EXPECT_FALSE(row(0).isAwaitingTry);
    EXPECT_TRUE(row(1).isAwaitingTry);
}

TEST_F(UnattendedUploadsTest, WithoutADestinationFilesFail)
{
    unset(u"Address"_s);
    uploadUnattended({ makeFile(u"a"_s), makeFile(u"b"_s) });
    tick();
    EXPECT_EQ(row(0).outcome, UploadOutcome::Kind::Waiting);
    EXPECT_EQ(delaysOf(m_controller->pump()), QList<int>{ 1000 });
    passDelaysOf(m_controller->pump());
    tick();

    EXPECT_EQ(row(0).outcome, UploadOutcome::Kind::Failed);
    EXPECT_EQ(row(1).status, u"No Destination"_s);
    EXPECT_TRUE(m_controller->fileUploadQueue().isEmpty());
    EXPECT_EQ(shownSheets(), QStringList());

    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();
    EXPECT_EQ(m_controller->fileUploadQueue().size(), 1);
}

TEST_F(UnattendedUploadsTest, SettingsThatCannotBeReadOnlyWhileAFileComesKeepItBackNoLonger)
{
    const QByteArray settings = contents(UserDefaults::standard().filePath());
    write({});
    uploadUnattended({ makeFile(u"a"_s) });
    write(settings);

    tick();
    tick();

    EXPECT_EQ(row(0).outcome, UploadOutcome::Kind::Sending);
}

TEST_F(UnattendedUploadsTest, ThatSettingsCannotBeReadForAMomentFailsNoFile)
{
    const QByteArray settings = contents(UserDefaults::standard().filePath());
    passDelaysOf(m_controller->pump());
    write({});
    uploadUnattended({ makeFile(u"a"_s) });
    tick();
    EXPECT_EQ(row(0).outcome, UploadOutcome::Kind::Waiting);

    write(settings);
    tick();
    EXPECT_EQ(row(0).outcome, UploadOutcome::Kind::Sending);
    upload().sendOtherError();
    write("{");
    uploadUnattended({ makeFile(u"b"_s) });
    tick();
    passDelaysOf(m_controller->pump());
    tick();
    EXPECT_EQ(row(1).status, u"Settings Not Readable"_s);
}

} // namespace
