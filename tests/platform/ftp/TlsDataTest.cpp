// Encrypted data connections.

#include "TlsStreamTest.h"

namespace {

using TlsDataTest = TlsStreamTest;

TEST_F(TlsDataTest, AnUploadSaysItsEndAndWaitsForTheServersWord)
{
    startSecureUpload(u"/f"_s, "hello");
    auto control = openSecurely("STOR f");
    control->say("150 Go");

    EXPECT_EQ(m_data->receiveToEnd(), "hello");
    EXPECT_TRUE(m_data->tls().hasClientClosed());
    EXPECT_EQ(m_recorder.log(), (QStringList{ u"open"_s, u"space"_s }));
    control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"space"_s, u"end"_s }));
}

TEST_F(TlsDataTest, AnEmptyUploadSaysItsEndToo)
{
    startSecureUpload(u"/empty"_s, "");
    auto control = openSecurely("STOR empty");

    EXPECT_EQ(m_data->receiveToEnd(), "");
    EXPECT_TRUE(m_data->tls().hasClientClosed());
    control->say("226 Got nothing");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"space"_s, u"end"_s }));
}

TEST_F(TlsDataTest, ALargeUploadArrivesWholeThroughAFullSocket)
{
    QByteArray data;
    for (int i = 0; data.size() < 8 * 1024 * 1024; ++i) {
        data += QByteArray::number(i) + ' ';
    }
    startSecureUpload(u"/f"_s, data);
    auto control = openSecurely("STOR f");
    control->say("150 Go");
    EXPECT_FALSE(waitFor([this] { return m_recorder.log().contains(u"end"_s); }, 50ms)); // Nobody reads.

    EXPECT_TRUE(m_data->receiveToEnd() == data);
    EXPECT_TRUE(m_data->tls().hasClientClosed());
    control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_F(TlsDataTest, DownloadsAndListingsEndByTheServersWordInsideTheEncryption)
{
    startSecureDownload(u"/f"_s);
    auto control = openSecurely("RETR f", { "TYPE I", "SIZE f", "EPSV" });
    control->say("150 Here");
    m_data->sendBytes("hello");
    m_data->sayClosing();
    control->say("226 Done");
    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"end"_s }));
    EXPECT_EQ(m_recorder.data, "hello");
    EXPECT_EQ(m_data->waitForEnd(), End::Finished);
    EXPECT_TRUE(m_data->tls().hasClientClosed());

    startSecureListing();
    EXPECT_EQ(control->hear(), "EPSV");
    control->say(extendedPassive());
    acceptData();
    control->say("150 Here");
    m_data->sendBytes(QByteArray(100'000, 'x'));
    m_data->sayClosing();
    control->say("226 Done");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    EXPECT_EQ(m_recorder.data.size(), 100'000);
}

TEST_F(TlsDataTest, DataThatIsCutIsAFailureWhateverTheServerSays)
{
    m_timeouts.reason = 50ms;
    for (const bool isConfirmed : { true, false }) {
        for (const char* size : { "213 10", "213 5", "550 Unknown" }) {
            m_sizeReply = size;
            startSecureDownload(u"/f"_s);
            auto control = openSecurely("RETR f", { "TYPE I", "SIZE f", "EPSV" });
            control->say("150 Here");
            m_data->sendBytes("hello");
            m_data->cut();
            if (isConfirmed) {
                control->say("226 Done");
            }

            EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"other"_s }));
        }
        startSecureListing();
        auto control = openSecurely("LIST");
        control->say("150 Here");
        m_data->sendBytes("-rw-r--r-- 1 a a 5 Jan 1 2020 f\r\n");
        m_data->cut();
        if (isConfirmed) {
            control->say("226 Done");
        }

        EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"other"_s }));
    }
}

TEST_F(TlsDataTest, AListingThatIsCutBeforeItsFirstByteIsNoEmptyFolder)
{
    startSecureListing();
    auto control = openSecurely("LIST");
    control->say("150 Here");
    m_data->cut();
    control->say("226 Done");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"other"_s }));
}

TEST_F(TlsDataTest, AnAnnouncedSizeStillCounts)
{
    m_sizeReply = "213 10";
    startSecureDownload(u"/f"_s);
    auto control = openSecurely("RETR f", { "TYPE I", "SIZE f", "EPSV" });
    control->say("150 Here");
    m_data->sendBytes("hello");
    m_data->sayClosing();
    control->say("226 Done");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"other"_s }));
}

TEST_F(TlsDataTest, ADroppedUploadIsReportedWithTheServersReason)
{
    startSecureUpload(u"/f"_s, QByteArray(64 * 1024 * 1024, 'x'));
    auto control = openSecurely("STOR f");
    control->say("150 Go");
    m_data->receive(100);
    m_data->reset();
    EXPECT_FALSE(waitFor([this] { return m_recorder.log().last() != u"space"_s; }, 50ms));

    control->say("426 Broken");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"space"_s, u"FTP 426"_s }));
}

TEST_F(TlsDataTest, BytesInClearInsteadOfTheHandshakeAreAFailureWithoutASecondTry)
{
    m_timeouts.reason = 50ms;
    startSecureDownload(u"/f"_s);
    auto control = logInSecurely({ "TYPE I", "SIZE f", "EPSV" });
    control->say("200 I");
    control->say("213 5");
    control->say(extendedPassive());
    m_data = m_dataPeer.accept();
    control->say("150 Here");

    m_data->sendBytes("hello");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_EQ(m_recorder.data, "");
    EXPECT_EQ(m_peer.connectionCount(), 1);
}

TEST_F(TlsDataTest, ADataConnectionToSomebodyElseIsRefused)
{
    m_timeouts.reason = 50ms;
    const TlsServerContext other(TestCertificate::selfSigned());
    startSecureUpload(u"/f"_s, "secret data");
    auto control = logInSecurely({ "TYPE I", "EPSV" });
    control->say("200 I");
    control->say(extendedPassive());
    m_data = m_dataPeer.accept();
    m_data->startTls(other);

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_EQ(m_data->receiveToEnd(), "");
}

TEST_F(TlsDataTest, ARefusalOfTheServerIsReportedWhileTheHandshakeWaits)
{
    startSecureUpload(u"/f"_s, "x");
    auto control = logInSecurely({ "TYPE I", "EPSV" });
    control->say("200 I");
    control->say(extendedPassive());
    m_data = m_dataPeer.accept();
    EXPECT_EQ(control->hear(), "STOR f");
    EXPECT_TRUE(m_recorder.log().isEmpty());

    control->say("553 Not this one");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 553"_s });
}

TEST_F(TlsDataTest, AHandshakeThatNeverEndsIsGivenUp)
{
    startSecureUpload(u"/f"_s, "x");
    auto control = logInSecurely({ "TYPE I", "EPSV" });
    m_timeouts.reply = 50ms;
    m_timeouts.reason = 20ms;
    control->say("200 I");
    control->say(extendedPassive());
    m_data = m_dataPeer.accept();

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_EQ(m_peer.connectionCount(), 1);
}

TEST_F(TlsDataTest, EveryDataConnectionTakesUpTheSessionOfTheControlConnection)
{
    for (const int version : { TLS1_2_VERSION, TLS1_3_VERSION }) {
        m_tls = TlsServerContext(m_certificate, version);
        startSecureUpload(u"/first"_s, "1");
        auto control = openSecurely("STOR first");
        EXPECT_TRUE(m_data->tls().isResumed());
        m_data->receiveToEnd();
        control->say("226 Got it");
        m_recorder.waitForEnd();

        startSecureUpload(u"/second"_s, "2");
        EXPECT_EQ(control->hear(), "EPSV");
        control->say(extendedPassive());
        acceptData();
        EXPECT_TRUE(m_data->tls().isResumed());
        EXPECT_EQ(m_data->tls().version(), version);
        m_recorder.close(); // A connection that is dropped must not cost the session.
        control->say("426 Broken");
        EXPECT_TRUE(waitFor([this] { return m_pool.idleCount() == 1; }));

        startSecureUpload(u"/third"_s, "3");
        EXPECT_EQ(control->hear(2).last(), "EPSV");
        control->say(extendedPassive());
        acceptData();
        EXPECT_TRUE(m_data->tls().isResumed());
        EXPECT_EQ(m_data->receiveToEnd(), "3");
        control->say("226 Got it");
        EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);

        m_pool.closeIdle(u"127.0.0.1"_s, m_peer.port());
        control->close();
        EXPECT_TRUE(waitFor([this] { return m_pool.connectionCount() == 0; }));
    }
}

TEST_F(TlsDataTest, AServerThatKnowsNoEpsvIsAskedByPasvInsideTheEncryption)
{
    startSecureUpload(u"/f"_s, "hello");
    auto control = logInSecurely({ "TYPE I", "EPSV" });
    control->say("200 I");
    control->say("500 What?");
    EXPECT_EQ(control->hear(), "PASV");
    control->say(passive());
    acceptData();
    EXPECT_EQ(control->hear(), "STOR f");

    EXPECT_EQ(m_data->receiveToEnd(), "hello");
    control->say("226 Got it");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_F(TlsDataTest, ADeadDataPortIsTriedAnewByPasvInsideTheEncryption)
{
    m_timeouts.reason = 20ms;
    startSecureUpload(u"/f"_s, "hello");
    auto control = logInSecurely({ "TYPE I", "EPSV" });
    control->say("200 I");
    control->say("229 Come (|||" + QByteArray::number(deadPort()) + "|)");

    auto second = logInSecurely({ "TYPE I", "PASV" });
    ASSERT_NE(second, nullptr);
    second->say("200 I");
    second->say(passive());
    acceptData();

    EXPECT_EQ(m_data->receiveToEnd(), "hello");
    second->say("226 Got it");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_F(TlsDataTest, AKeptConnectionThatTurnsOutDeadIsReplacedByAnotherEncryptedOne)
{
    startSecureUpload(u"/first"_s, "1");
    auto control = openSecurely("STOR first");
    m_data->receiveToEnd();
    control->say("226 Got it");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);

    startSecureUpload(u"/second"_s, "2");
    EXPECT_EQ(control->hear(), "EPSV");
    control->close();

    auto fresh = openSecurely("STOR second");
    EXPECT_EQ(m_data->receiveToEnd(), "2");
    fresh->say("226 Got it");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    EXPECT_EQ(m_peer.connectionCount(), 2);
}

TEST_F(TlsDataTest, BytesAheadOfTheAnnouncementWaitForIt)
{
    startSecureDownload(u"/f"_s);
    auto control = openSecurely("RETR f", { "TYPE I", "SIZE f", "EPSV" });
    m_data->sendBytes("hello");
    m_data->sayClosing();
    EXPECT_FALSE(waitFor([this] { return !m_recorder.log().isEmpty(); }, 50ms));

    control->say("150 Here");
    EXPECT_TRUE(m_recorder.waitFor(u"bytes"_s));
    control->say("226 Done");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"end"_s }));
    EXPECT_EQ(m_recorder.data, "hello");
}

TEST_F(TlsDataTest, WhatHasBeenReceivedAlreadyIsReadWhenTheLoopIsHeldNoLonger)
{
    startSecureDownload(u"/f"_s);
    m_sizeReply = "550 Unknown";
    auto control = openSecurely("RETR f", { "TYPE I", "SIZE f", "EPSV" });
    control->say("150 Here");
    const QByteArray data(40'000, 'x'); // Three records, of which one block takes two and a part.
    m_recorder.onEvent = [](const QString& event) {
        if (event == u"bytes"_s) {
            DeliveryGate::ofThisThread().setClosed(true);
        }
    };
    m_data->sendBytes(data);
    m_data->sayClosing();
    control->say("226 Done");
    EXPECT_TRUE(waitFor([this] { return m_recorder.data.size() == 32768; }));
    EXPECT_FALSE(waitFor([this] { return m_recorder.data.size() > 32768; }, 50ms));
    m_recorder.onEvent = nullptr;

    DeliveryGate::ofThisThread().setClosed(false);

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    EXPECT_EQ(m_recorder.data, data);
}

TEST_F(TlsDataTest, NothingIsReadWhileTheLoopIsHeld)
{
    startSecureDownload(u"/f"_s);
    auto control = openSecurely("RETR f", { "TYPE I", "SIZE f", "EPSV" });
    control->say("150 Here");
    EXPECT_TRUE(m_recorder.waitFor(u"open"_s));
    DeliveryGate::ofThisThread().setClosed(true);
    m_data->sendBytes("hello");
    m_data->sayClosing();
    control->say("226 Done");
    EXPECT_FALSE(waitFor([this] { return m_recorder.log().size() > 1; }, 50ms));

    DeliveryGate::ofThisThread().setClosed(false);

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"end"_s }));
}

TEST_F(TlsDataTest, AFolderIsMadeInsideTheEncryption)
{
    start(m_factory.createFolderStream(m_peer.location(u"/sub/d"_s)));
    auto control = logInSecurely({ "CWD sub", "TYPE I" });
    control->say("250 There");
    control->say("200 I");
    EXPECT_EQ(control->hear(), "MKD d");
    control->say("257 \"d\"");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"created"_s }));
}

} // namespace
