#include "FTPGetController.h"

#include "FaultyFileCalls.h"
#include "FileSizeLimit.h"
#include "StandardFolders.h"
#include "TransferTest.h"
#include "UserDefaults.h"

#include <QDir>

#include <cerrno>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

/// Notes progress as "percent N" and "bytes N".
class GetDelegate final : public RecordingDelegate, public FTPGetControllerDelegate {
public:
    void percentDone(float percent) override { note(u"percent %1"_s.arg(double(percent), 0, 'g', 9)); }
    void bytesDone(float bytes) override { note(u"bytes %1"_s.arg(double(bytes), 0, 'f', 0)); }
    void updateStatus(const QString& status) override { note(status); }

    WeakRef<GetDelegate> ref() { return m_anchor.ref(this); }

private:
    WeakAnchor m_anchor;
};

class FTPGetControllerTest : public TransferTest {
protected:
    FTPGetControllerTest() { makeController(); }

    void makeController()
    {
        m_controller = std::make_unique<FTPGetController>(m_streams, m_defaults,
                                                          [this](const QString& file) { m_opened.append(file); });
        m_controller->setDelegate(m_delegate->ref());
    }

    void start(const QString& file)
    {
        m_controller->startReceive(u"ftp://host/dir/remote%20name"_s, u"me"_s, u"secret"_s, file);
    }

    void startReceivingFileOfSize(std::optional<qint64> size)
    {
        start(m_file);
        m_streams.last().resourceSize = size;
        m_streams.last().sendOpenCompleted();
        m_delegate->calls.clear();
    }

    QString m_file = path(u"local"_s);
    QStringList m_opened;
    UserDefaults m_defaults{ path(u"settings.json"_s) };
    std::unique_ptr<GetDelegate> m_delegate = std::make_unique<GetDelegate>();
    std::unique_ptr<FTPGetController> m_controller;
};

TEST_F(FTPGetControllerTest, ASuccessfulDownloadReportsItsStepsInOrder)
{
    start(m_file);
    m_streams.last().resourceSize = 8;
    m_streams.last().sendOpenCompleted();
    m_streams.last().sendBytes("ab");
    m_streams.last().sendBytes("cdefgh");
    m_streams.last().sendEnd();

    const QString receiving = u"Receiving \"remote%20name\""_s;
    EXPECT_EQ(
        m_delegate->calls,
        (QStringList{ u"Starting get..."_s, u"Started Get."_s, u"Opened connection"_s, receiving, u"percent 25"_s,
                      u"bytes 2"_s, receiving, u"percent 100"_s, u"bytes 8"_s, receiving, u"Download succeeded"_s }));
    EXPECT_EQ(contents(m_file), "abcdefgh");
    EXPECT_FALSE(m_controller->isReceiving());
    EXPECT_TRUE(m_streams.last().isClosed());
    EXPECT_TRUE(m_controller->filePath().isNull());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPGetControllerTest, TheSizeIsAskedForAfterTheOpening)
{
    start(m_file);

    const FakeFTPStream& stream = m_streams.last();
    EXPECT_EQ(stream.kind, FakeFTPStream::Kind::Download);
    EXPECT_EQ(stream.location, u"ftp://host/dir/remote%20name"_s);
    EXPECT_EQ(stream.calls,
              (QStringList{ u"setUserName me"_s, u"setPassword secret"_s, u"open"_s, u"setFetchResourceInfo"_s }));
    EXPECT_EQ(m_controller->filePath(), m_file);
    EXPECT_EQ(countChange(), 1);
}

TEST_F(FTPGetControllerTest, WithoutAnAnnouncedSizeTheFileArrivesWithoutProgress)
{
    startReceivingFileOfSize(std::nullopt);
    EXPECT_EQ(m_controller->fileSize(), -1);

    m_streams.last().sendBytes("hello");
    m_streams.last().sendEnd();

    const QString receiving = u"Receiving \"remote%20name\""_s;
    EXPECT_EQ(m_delegate->calls, (QStringList{ receiving, receiving, u"Download succeeded"_s }));
    EXPECT_EQ(contents(m_file), "hello");
    EXPECT_EQ(m_controller->totalBytesWritten(), 5);
}

TEST_F(FTPGetControllerTest, WithAnAnnouncedSizeOfZeroThereIsNoProgress)
{
    startReceivingFileOfSize(0);

    m_streams.last().sendBytes("hello");

    EXPECT_EQ(m_delegate->calls, QStringList{ u"Receiving \"remote%20name\""_s });
}

TEST_F(FTPGetControllerTest, AnEmptyFileArrives)
{
    startReceivingFileOfSize(0);

    m_streams.last().sendEnd();

    EXPECT_EQ(m_delegate->calls.last(), u"Download succeeded"_s);
    EXPECT_EQ(contents(m_file), "");
}

TEST_F(FTPGetControllerTest, AtMostOneBufferIsReadPerEvent)
{
    startReceivingFileOfSize(std::nullopt);
    const QByteArray bytes(40000, 'x');

    m_streams.last().sendBytes(bytes);
    EXPECT_EQ(m_controller->totalBytesWritten(), 32768);
    m_streams.last().send(FTPStreamEvent::HasBytesAvailable);
    m_streams.last().sendEnd();

    EXPECT_TRUE(contents(m_file) == bytes);
}

TEST_F(FTPGetControllerTest, AnExistingFileIsReplaced)
{
    makeFile(u"local"_s, "a longer text than the new one");
    startReceivingFileOfSize(std::nullopt);

    m_streams.last().sendBytes("new");
    m_streams.last().sendEnd();

    EXPECT_EQ(contents(m_file), "new");
}

TEST_F(FTPGetControllerTest, WithoutAPlaceEachDownloadGetsAFileOfItsOwnInTheDownloadsFolder)
{
    for (int i = 0; i < 2; ++i) {
        start(QString());
        m_streams.last().sendBytes("hello");
        m_streams.last().sendEnd();
    }

    const QDir downloads(downloadsDirectoryPath());
    const QStringList files = downloads.entryList({ u"*-remote name"_s }, QDir::Files);
    EXPECT_EQ(files.size(), 2);
    for (const QString& file : files) {
        EXPECT_EQ(contents(downloads.filePath(file)), "hello");
        EXPECT_TRUE(QFile::remove(downloads.filePath(file)));
    }
}

TEST_F(FTPGetControllerTest, TheReceivingTextNamesTheAddressAsItWasGivenWithoutItsSlash)
{
    m_controller->startReceive(u"ftp://host/incoming/file.txt/"_s, QString(), QString(), m_file);
    m_streams.last().sendEnd();

    EXPECT_TRUE(m_delegate->calls.contains(u"Receiving \"file.txt\""_s));
}

TEST_F(FTPGetControllerTest, AStartWhileADownloadRunsChangesTheAddressAndAlertsASecondLater)
{
    startReceivingFileOfSize(5);

    m_controller->startReceive(u"ftp://host/other"_s, QString(), QString(), path(u"other"_s));
    m_streams.last().sendBytes("hello");

    EXPECT_EQ(m_streams.streams().size(), 1U);
    EXPECT_EQ(m_controller->pathToDownload(), u"ftp://host/other"_s);
    EXPECT_EQ(m_controller->filePath(), m_file);
    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Receiving \"other\""_s, u"percent 100"_s, u"bytes 5"_s }));
    EXPECT_TRUE(m_alerts.isEmpty());
    waitForAlerts();
    EXPECT_EQ(m_alerts, QStringList{ u"A network operation is already running.|Try again when it completes."_s });
    EXPECT_EQ(countChange(), 1);
}

TEST_F(FTPGetControllerTest, AnAddressThatIsNoFTPAddressIsAnInvalidURLWithoutAStop)
{
    for (const QString& address : { u"http://host/a"_s, QString() }) {
        m_delegate->calls.clear();
        m_controller->startReceive(address, QString(), QString(), m_file);

        EXPECT_EQ(m_delegate->calls, (QStringList{ u"Starting get..."_s, u"Invalid URL"_s }));
    }
    EXPECT_FALSE(QFile::exists(m_file));
    EXPECT_EQ(countChange(), 0);
    start(m_file);
    EXPECT_TRUE(m_controller->isReceiving());
}

TEST_F(FTPGetControllerTest, AnAddressWithoutAFileNameHasNoPlaceOfItsOwn)
{
    for (const QString& address :
         { u"ftp://host"_s, u"ftp://host/"_s, u"ftp://host/.."_s, u"ftp://host/a%2F..%2Fb"_s }) {
        m_delegate->calls.clear();
        m_controller->startReceive(address, QString(), QString(), QString());

        EXPECT_EQ(m_delegate->calls, (QStringList{ u"Starting get..."_s, u"Invalid Desftination File"_s }));
    }
    EXPECT_TRUE(m_streams.streams().empty());
    EXPECT_EQ(countChange(), 0);
    start(m_file);
    EXPECT_TRUE(m_controller->isReceiving());
}

TEST_F(FTPGetControllerTest, WithoutAStreamTheStopIsReportedAndCounted)
{
    m_streams.refusesCreation = true;

    start(m_file);

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Starting get..."_s, u"Can not create network connection."_s }));
    EXPECT_TRUE(m_controller->filePath().isNull());
    EXPECT_EQ(countChange(), -1);
    m_streams.refusesCreation = false;
    start(m_file);
    EXPECT_TRUE(m_controller->isReceiving());
}

TEST_F(FTPGetControllerTest, ARefusedLoginStopsBeforeTheOpening)
{
    m_streams.refusesUserName = true;
    start(m_file);
    m_streams.refusesUserName = false;
    m_streams.refusesPassword = true;
    start(m_file);

    EXPECT_EQ(m_delegate->calls,
              (QStringList{ u"Starting get..."_s, u"Could not send username."_s, u"Starting get..."_s,
                            u"Could not send password."_s }));
    EXPECT_FALSE(m_streams.last().calls.contains(u"open"_s));
    EXPECT_FALSE(m_streams.last().calls.contains(u"setFetchResourceInfo"_s));
    EXPECT_EQ(countChange(), -2);
}

TEST_F(FTPGetControllerTest, ARefusalNamesTheReplyCode)
{
    startReceivingFileOfSize(std::nullopt);

    m_streams.last().sendRefusal(550);

    EXPECT_EQ(m_delegate->calls, QStringList{ u"FTP error 550"_s });
    EXPECT_FALSE(m_controller->isReceiving());
    EXPECT_TRUE(m_controller->filePath().isNull());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPGetControllerTest, AnyOtherErrorIsAStreamOpenError)
{
    startReceivingFileOfSize(std::nullopt);

    m_streams.last().sendOtherError();

    EXPECT_EQ(m_delegate->calls, QStringList{ u"Stream open error"_s });
}

TEST_F(FTPGetControllerTest, AFailedReadIsANetworkReadErrorAndKeepsThePartialFile)
{
    startReceivingFileOfSize(10);
    m_streams.last().sendBytes("hello");

    m_streams.last().sendReadFailure();

    EXPECT_EQ(m_delegate->calls.last(), u"Network read error"_s);
    EXPECT_EQ(contents(m_file), "hello");
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPGetControllerTest, APlaceThatCannotBeWrittenIsAFileWriteErrorAtTheFirstByte)
{
    start(path(u"missing/local"_s));
    m_streams.last().sendOpenCompleted();
    m_streams.last().sendBytes("hello");

    EXPECT_EQ(m_delegate->calls.last(), u"File write error"_s);
    EXPECT_TRUE(m_streams.last().isClosed());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPGetControllerTest, APlaceThatCannotBeWrittenIsAFileWriteErrorOfAnEmptyFileToo)
{
    start(path(u"missing/local"_s));
    m_streams.last().sendOpenCompleted();
    m_streams.last().sendEnd();

    EXPECT_EQ(m_delegate->calls.last(), u"File write error"_s);
    EXPECT_FALSE(m_delegate->calls.contains(u"Download succeeded"_s));
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPGetControllerTest, AStopKeepsItsOwnTextAlsoWhenTheFileCannotBeWritten)
{
    start(path(u"missing/local"_s));

    m_controller->stopReceiveWithStatus(u"Download Stopped"_s);

    EXPECT_EQ(m_delegate->calls.last(), u"Download Stopped"_s);
}

TEST_F(FTPGetControllerTest, ABlockIsWrittenInAsManyPiecesAsItTakesUntilTheDiskIsFull)
{
    startReceivingFileOfSize(100);
    {
        const FileSizeLimit limit(60);
        m_streams.last().sendBytes(QByteArray(100, 'x'));
    }

    EXPECT_EQ(m_delegate->calls,
              (QStringList{ u"Receiving \"remote%20name\""_s, u"percent 60.0000038"_s, u"bytes 60"_s,
                            u"File write error"_s }));
    EXPECT_EQ(contents(m_file), QByteArray(60, 'x'));
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPGetControllerTest, AFileThatTakesNothingIsAFileWriteError)
{
    startReceivingFileOfSize(std::nullopt);
    {
        const FaultyFileCalls faults;
        FaultyFileCalls::letWritesTakeNothing();
        m_streams.last().sendBytes("hello");
    }

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Receiving \"remote%20name\""_s, u"File write error"_s }));
    EXPECT_FALSE(m_controller->isReceiving());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPGetControllerTest, AFileThatCannotBeClosedIsAFileWriteError)
{
    startReceivingFileOfSize(std::nullopt);
    m_streams.last().sendBytes("hello");
    {
        const FaultyFileCalls faults;
        FaultyFileCalls::failToClose(EDQUOT);
        m_streams.last().sendEnd();
    }

    EXPECT_EQ(m_delegate->calls.last(), u"File write error"_s);
    EXPECT_FALSE(m_delegate->calls.contains(u"Download succeeded"_s));
}

TEST_F(FTPGetControllerTest, ACancelHalfWayLeavesThePartialFile)
{
    startReceivingFileOfSize(10);
    m_streams.last().sendBytes("hello");

    m_controller->stopReceiveWithStatus(u"Download Stopped"_s);
    m_streams.last().sendBytes("world");

    EXPECT_EQ(m_delegate->calls.last(), u"Download Stopped"_s);
    EXPECT_EQ(contents(m_file), "hello");
    EXPECT_TRUE(m_controller->filePath().isNull());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPGetControllerTest, AFinishedFileIsOpenedWhenTheUserWantsIt)
{
    ASSERT_TRUE(m_defaults.store({ { u"OpenDownloadedFiles"_s, true } }));
    startReceivingFileOfSize(std::nullopt);
    m_streams.last().sendBytes("hello");
    EXPECT_TRUE(m_opened.isEmpty());

    m_streams.last().sendEnd();

    EXPECT_EQ(m_opened, QStringList{ m_file });
}

TEST_F(FTPGetControllerTest, AFinishedFileIsNotOpenedWhenTheSettingIsFalseOrAbsent)
{
    startReceivingFileOfSize(std::nullopt);
    m_streams.last().sendEnd();
    ASSERT_TRUE(m_defaults.store({ { u"OpenDownloadedFiles"_s, false } }));
    startReceivingFileOfSize(std::nullopt);
    m_streams.last().sendEnd();

    EXPECT_EQ(m_delegate->calls.last(), u"Download succeeded"_s);
    EXPECT_TRUE(m_opened.isEmpty());
}

TEST_F(FTPGetControllerTest, NothingIsOpenedAfterAFailureOrACancel)
{
    ASSERT_TRUE(m_defaults.store({ { u"OpenDownloadedFiles"_s, true } }));
    startReceivingFileOfSize(std::nullopt);
    m_streams.last().sendRefusal(550);
    startReceivingFileOfSize(std::nullopt);
    m_controller->stopReceiveWithStatus(u"Download Stopped"_s);
    start(path(u"missing/local"_s));
    m_streams.last().sendEnd();

    EXPECT_TRUE(m_opened.isEmpty());
}

TEST_F(FTPGetControllerTest, AStartFromInsideTheLastReportIsPassedOver)
{
    startReceivingFileOfSize(std::nullopt);
    m_delegate->reaction = [this](const QString& call) {
        if (call == u"Download succeeded"_s) {
            start(path(u"next"_s));
        }
    };

    m_streams.last().sendEnd();

    EXPECT_EQ(m_streams.streams().size(), 1U);
    EXPECT_TRUE(m_controller->filePath().isNull());
}

TEST_F(FTPGetControllerTest, OtherEventsAreIgnored)
{
    startReceivingFileOfSize(std::nullopt);

    m_streams.last().send(FTPStreamEvent::HasSpaceAvailable);
    m_streams.last().send(FTPStreamEvent::EndEncountered);

    EXPECT_TRUE(m_delegate->calls.isEmpty());
    EXPECT_TRUE(m_controller->isReceiving());
}

TEST_F(FTPGetControllerTest, ADelegateMayStopFromInsideAnyReport)
{
    for (const QString& report : { u"Receiving \"remote%20name\""_s, u"percent 100"_s, u"bytes 3"_s }) {
        startReceivingFileOfSize(3);
        m_delegate->reaction = [this, &report](const QString& call) {
            if (call == report) {
                m_controller->stopReceiveWithStatus(u"Download Stopped"_s);
            }
        };

        m_streams.last().sendBytes("abc");
        m_delegate->reaction = nullptr;

        EXPECT_EQ(m_delegate->calls.last(), u"Download Stopped"_s) << report.toStdString();
        EXPECT_EQ(countChange(), 0);
    }
}

TEST_F(FTPGetControllerTest, ADelegateMayDestroyTheControllerFromInsideAnyReport)
{
    for (const QString& report :
         { u"Starting get..."_s, u"Started Get."_s, u"Opened connection"_s, u"Receiving \"remote%20name\""_s,
           u"percent 100"_s, u"bytes 3"_s, u"Download succeeded"_s }) {
        makeController();
        NetworkManager::sharedInstance().setNetworkOperationCount(baseCount);
        m_delegate->calls.clear();
        m_delegate->reaction = [this, &report](const QString& call) {
            if (call == report) {
                m_controller.reset();
            }
        };

        start(m_file);
        if (m_controller != nullptr) {
            m_streams.last().resourceSize = 3;
            m_streams.last().sendOpenCompleted();
            m_streams.last().sendBytes("abc");
            m_streams.last().sendEnd();
        }
        m_delegate->reaction = nullptr;

        EXPECT_EQ(m_controller, nullptr) << report.toStdString();
        EXPECT_EQ(m_delegate->calls.last(), u"Stopped"_s) << report.toStdString();
        EXPECT_EQ(countChange(), report == u"Starting get..."_s ? -1 : 0) << report.toStdString();
    }
}

TEST_F(FTPGetControllerTest, DestroyingStopsWithStopped)
{
    startReceivingFileOfSize(3);

    m_controller.reset();

    EXPECT_EQ(m_delegate->calls, QStringList{ u"Stopped"_s });
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPGetControllerTest, ReportsToADelegateThatIsGoneAreDropped)
{
    startReceivingFileOfSize(5);
    m_delegate.reset();

    m_streams.last().sendBytes("hello");
    m_streams.last().sendEnd();

    EXPECT_EQ(contents(m_file), "hello");
    EXPECT_EQ(countChange(), 0);
}

} // namespace
