#include "StreamTest.h"

namespace {

/// Listings and downloads.
class ReadStreamTest : public EachEncryptionTest {
protected:
    std::unique_ptr<PeerConnection> openDownload() { return open("RETR f", { "TYPE I", "SIZE f", "EPSV" }); }

    std::optional<qint64> announcedSize() const
    {
        return static_cast<FTPReadStream*>(m_recorder.stream())->resourceSize();
    }
};
RUN_IN_CLEAR_AND_ENCRYPTED(ReadStreamTest);

TEST_P(ReadStreamTest, AListingEndsOnlyWhenTheServerHasConfirmed)
{
    startListing(u"/in/"_s);
    auto control = open("LIST", { "CWD in", "TYPE I", "EPSV" });
    control->say("150 Comes");
    m_data->sendBytes("line\r\n");
    m_data->close();
    EXPECT_FALSE(waitFor([this] { return m_recorder.log().contains(u"end"_s); }, 50ms));

    control->say("226 Done");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"end"_s }));
    EXPECT_EQ(m_recorder.data, "line\r\n");
}

TEST_P(ReadStreamTest, AListingOfManyBlocksArrivesWhole)
{
    startListing(u"/"_s);
    auto control = open("LIST");
    control->say("150 Comes");
    QByteArray data;
    for (int i = 0; data.size() < 1'000'000; ++i) {
        data += QByteArray::number(i) + "\r\n";
    }
    m_data->sendBytes(data);
    m_data->close();
    control->say("226 Done");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"end"_s }));
    EXPECT_TRUE(m_recorder.data == data);
}

TEST_P(ReadStreamTest, TheDataConnectionIsClosedBeforeTheConfirmation)
{
    startListing(u"/"_s);
    auto control = open("LIST");
    control->say("150 Comes");

    m_data->finish();

    EXPECT_EQ(m_data->waitForEnd(), End::Finished);
}

TEST_P(ReadStreamTest, TheConfirmationMayComeBeforeTheEndOfTheData)
{
    startListing(u"/"_s);
    auto control = open("LIST");
    control->say("150 Comes");
    control->say("226 Done");
    ASSERT_TRUE(waitFor([this] { return m_recorder.lastReply() == u"226 Done"_s; }));

    m_data->sendBytes("line\r\n");
    m_data->close();

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"end"_s }));
}

TEST_P(ReadStreamTest, DataAheadOfTheAnnouncementWaitsForIt)
{
    m_timeouts.acceptance = 1h;
    startDownload(u"/f"_s);
    auto control = openDownload();
    m_data->sendBytes("hello");
    m_data->close();
    EXPECT_FALSE(waitFor([this] { return !m_recorder.log().isEmpty(); }, 50ms));

    control->say("150 Comes");
    EXPECT_TRUE(m_recorder.waitFor(u"bytes"_s));
    control->say("226 Done");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"end"_s }));
    EXPECT_EQ(m_recorder.data, "hello");
}

TEST_P(ReadStreamTest, AListingWithoutAnAnnouncementIsRead)
{
    m_timeouts.acceptance = 20ms;
    startListing(u"/"_s);
    auto control = open("LIST");
    m_data->sendBytes("line\r\n");
    m_data->close();
    ASSERT_TRUE(m_recorder.waitFor(u"bytes"_s));

    control->say("226 Done");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"end"_s }));
}

TEST_P(ReadStreamTest, AnEmptyListingConfirmedWithoutAnAnnouncementEnds)
{
    startListing(u"/"_s);
    auto control = open("LIST");
    m_data->close();

    control->say("226 Nothing there");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"end"_s }));
}

TEST_P(ReadStreamTest, ARefusedListingIsReportedWithItsCode)
{
    for (const auto& [reply, report] :
         { std::pair{ "450 No files", u"FTP 450"_s }, std::pair{ "550 No such folder", u"FTP 550"_s } }) {
        m_pool.closeIdle(u"127.0.0.1"_s, m_peer.port());
        startListing(u"/"_s);
        auto control = open("LIST");

        control->say(reply);

        EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ report });
    }
}

TEST_P(ReadStreamTest, AReplyOf425IsReportedWhereTheDataConnectionStands)
{
    startListing(u"/"_s);
    auto control = open("LIST");

    control->say("425 Nobody has come");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 425"_s });
    EXPECT_TRUE(control->isSilent()); // PASV would lead nowhere else.
}

TEST_P(ReadStreamTest, ARefusalBehindTheDataIsAnErrorAndNoEnd)
{
    startListing(u"/"_s);
    auto control = open("LIST");
    control->say("150 Comes");
    m_data->sendBytes("line\r\n");
    m_data->close();
    ASSERT_TRUE(m_recorder.waitFor(u"bytes"_s));

    control->say("451 Disk trouble");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"FTP 451"_s }));
}

TEST_P(ReadStreamTest, TheSizeOfADownloadIsKnownWhenItOpens)
{
    startDownload(u"/f"_s);
    auto control = openDownload();
    std::optional<qint64> size;
    m_recorder.onEvent = [this, &size](const QString& event) {
        if (event == u"open"_s) {
            size = announcedSize();
        }
    };
    control->say("150 Comes");
    m_data->sendBytes("hello");
    m_data->close();
    control->say("226 Done");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"end"_s }));
    EXPECT_EQ(size, 5);
    EXPECT_EQ(m_recorder.data, "hello");
}

TEST_P(ReadStreamTest, TheSizeMayBeAskedForAfterTheStreamWasOpened)
{
    auto stream = m_factory.createDownloadStream(m_peer.location(u"/f"_s));
    FTPReadStream& reader = *stream;
    start(std::move(stream), m_recorder);

    EXPECT_TRUE(reader.setFetchResourceInfo(true));

    EXPECT_NE(openDownload(), nullptr);
}

TEST_P(ReadStreamTest, WithoutASizeADownloadIsWholeWhenTheServerSaysSo)
{
    for (const char* reply : { "550 No SIZE", "502 What", "213 many", "213 -1" }) {
        SCOPED_TRACE(reply);
        m_pool.closeIdle(u"127.0.0.1"_s, m_peer.port());
        m_sizeReply = reply;
        startDownload(u"/f"_s);
        auto control = openDownload();
        control->say("150 Comes");
        ASSERT_TRUE(m_recorder.waitFor(u"open"_s));
        EXPECT_EQ(announcedSize(), std::nullopt);
        m_data->sendBytes("hello");
        m_data->close();
        control->say("226 Done");

        EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    }
}

TEST_P(ReadStreamTest, ADownloadShorterThanAnnouncedIsAFailure)
{
    startDownload(u"/f"_s);
    auto control = openDownload();
    control->say("150 Comes");
    m_data->sendBytes("hell");
    m_data->close();

    control->say("226 Done");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"other"_s }));
}

TEST_P(ReadStreamTest, BehindAFailureNoEndIsRead)
{
    for (const char* reply : { "451 Disk trouble", "226 Done" }) {
        SCOPED_TRACE(reply);
        m_pool.closeIdle(u"127.0.0.1"_s, m_peer.port());
        startDownload(u"/f"_s);
        auto control = openDownload();
        control->say("150 Comes");
        m_data->sendBytes("hell"); // One byte less than announced.
        m_data->close();
        control->say(reply);
        EXPECT_NE(m_recorder.waitForEnd().last(), u"end"_s);

        char byte = 0;
        EXPECT_EQ(static_cast<FTPReadStream*>(m_recorder.stream())->read(std::span(&byte, 1)), -1);
    }
}

TEST_P(ReadStreamTest, ADownloadLongerThanAnnouncedArrivesWhole)
{
    startDownload(u"/f"_s);
    auto control = openDownload();
    control->say("150 Comes");
    m_data->sendBytes("hello, world");
    m_data->close();

    control->say("226 Done");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    EXPECT_EQ(m_recorder.data, "hello, world");
}

TEST_P(ReadStreamTest, ARefusedDownloadIsReportedWithItsCode)
{
    startDownload(u"/f/"_s); // A "/" at the end makes no folder of it.
    auto control = openDownload();

    control->say("550 No such file");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 550"_s });
}

TEST_P(ReadStreamTest, ABrokenDataConnectionIsReportedWithTheServersReason)
{
    startDownload(u"/f"_s);
    auto control = openDownload();
    control->say("150 Comes");
    m_data->sendBytes("he");
    ASSERT_TRUE(m_recorder.waitFor(u"bytes"_s));
    m_data->reset();
    drainEventLoop();

    control->say("426 Broken");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"FTP 426"_s }));
}

TEST_P(ReadStreamTest, AControlConnectionLostBehindTheDataIsAFailure)
{
    startDownload(u"/f"_s);
    auto control = openDownload();
    control->say("150 Comes");
    m_data->sendBytes("hello");
    m_data->close();
    ASSERT_TRUE(m_recorder.waitFor(u"bytes"_s));

    control->close();

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"other"_s }));
}

TEST_P(ReadStreamTest, AConfirmedListingOutlivesItsControlConnection)
{
    startListing(u"/"_s);
    auto control = open("LIST");
    control->say("150 Comes");
    control->say("226 Done");
    ASSERT_TRUE(m_recorder.waitFor(u"open"_s));
    control->finish();
    EXPECT_EQ(control->waitForEnd(), End::Finished);

    m_data->sendBytes("line\r\n");
    m_data->close();

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"end"_s }));
}

TEST_P(ReadStreamTest, AReplyThatNobodyAskedForDoesNotHarmButCostsTheConnection)
{
    startListing(u"/"_s);
    auto control = open("LIST");
    control->say("150 Comes");
    control->say("226 Done");
    control->say("226 Done again"); // It would confirm what comes next.
    ASSERT_TRUE(waitFor([this] { return m_recorder.lastReply() == u"226 Done again"_s; }));
    m_data->sendBytes("line\r\n");
    m_data->close();
    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"end"_s }));

    startUpload(u"/f"_s, "x");

    EXPECT_NE(open("STOR f"), nullptr);
    EXPECT_EQ(control->receiveToEnd(), "");
}

TEST_P(ReadStreamTest, WhereAListingFallsShortIsToldInTheWordsOfTheLineThatSaysSo)
{
    const auto list = [this](const QByteArray& completion) {
        startListing(u"/"_s);
        auto control = open("LIST");
        control->say("150 Comes");
        m_data->close();
        control->say(completion);
        EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
        m_pool.closeIdle(u"127.0.0.1"_s, m_peer.port());
        return static_cast<FTPReadStream*>(m_recorder.stream())->shortfall();
    };

    EXPECT_EQ(list("226-Sorry,\x1b we were unable to read [.]\r\n226-Options: -l\r\n226 0 matches total"),
              u"226-Sorry,\\x1b we were unable to read [.]"_s);
    EXPECT_EQ(m_recorder.lastReply(), u"226 0 matches total"_s);
    EXPECT_EQ(list("226 Output truncated"), u"226 Output truncated"_s);
    EXPECT_TRUE(list("226-Options: -l\r\n226 0 matches total").isNull());
}

TEST_P(ReadStreamTest, OfADownloadNothingIsTakenForThat)
{
    startDownload(u"/f"_s);
    auto control = openDownload();
    control->say("150 Comes");
    m_data->sendBytes("hello");
    m_data->close();
    control->say("226 A truncated file");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    EXPECT_TRUE(static_cast<FTPReadStream*>(m_recorder.stream())->shortfall().isNull());
}

TEST_P(ReadStreamTest, WhatIsNotReadIsReportedAgain)
{
    int times = 0;
    m_recorder.isIdle = true;
    m_recorder.onEvent = [this, &times](const QString& event) {
        if (event == u"bytes"_s && ++times == 3) {
            m_recorder.isIdle = false;
        }
    };
    startListing(u"/"_s);
    auto control = open("LIST");
    control->say("150 Comes");
    m_data->sendBytes("line\r\n");
    m_data->close();
    control->say("226 Done");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"end"_s }));
    EXPECT_EQ(m_recorder.data, "line\r\n");
}

TEST_P(ReadStreamTest, NothingIsReadWhileTheLoopIsSuspended)
{
    startDownload(u"/f"_s);
    auto control = openDownload();
    control->say("150 Here");
    EXPECT_TRUE(m_recorder.waitFor(u"open"_s));
    DeliveryGate::ofThisThread().setClosed(true);
    m_data->sendBytes("hello");
    m_data->close();
    control->say("226 Done");
    EXPECT_FALSE(waitFor([this] { return m_recorder.log().size() > 1; }, 50ms));

    DeliveryGate::ofThisThread().setClosed(false);

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"end"_s }));
}

} // namespace
