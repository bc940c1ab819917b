#include "FTPGetControllerTest.h"

using namespace Qt::StringLiterals;

namespace {

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

TEST_F(FTPGetControllerTest, ItsStreamsAreThereExactlyWhileItReceives)
{
    EXPECT_EQ(m_controller->delegate().get(), m_delegate.get());
    EXPECT_EQ(m_controller->networkStream(), nullptr);
    EXPECT_EQ(m_controller->fileStream(), nullptr);

    start(m_file);
    EXPECT_NE(m_controller->networkStream(), nullptr);
    EXPECT_NE(m_controller->fileStream(), nullptr);

    m_controller->stopReceiveWithStatus(u"end"_s);
    EXPECT_EQ(m_controller->networkStream(), nullptr);
    EXPECT_EQ(m_controller->fileStream(), nullptr);
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
    passAlertDelays();
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
    m_streams.next.refusesUserName = true;
    start(m_file);
    m_streams.next.refusesUserName = false;
    m_streams.next.refusesPassword = true;
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

TEST_F(FTPGetControllerTest, OtherEventsAreIgnored)
{
    startReceivingFileOfSize(std::nullopt);

    m_streams.last().send(FTPStreamEvent::HasSpaceAvailable);
    m_streams.last().send(FTPStreamEvent::EndEncountered);

    EXPECT_TRUE(m_delegate->calls.isEmpty());
    EXPECT_TRUE(m_controller->isReceiving());
}

TEST_F(FTPGetControllerTest, DestroyingStopsWithStopped)
{
    startReceivingFileOfSize(3);

    m_controller.reset();

    EXPECT_EQ(m_delegate->calls, QStringList{ u"Stopped"_s });
    EXPECT_EQ(countChange(), 0);
}

} // namespace
