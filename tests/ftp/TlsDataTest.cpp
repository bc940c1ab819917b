// Encrypted data connections.

#include "StreamTest.h"

namespace {

using TlsDataTest = TlsStreamTest;

TEST_F(TlsDataTest, AnUploadSaysItsEndAndWaitsForTheServersWord)
{
    startUpload(u"/f"_s, "hello");
    auto control = open("STOR f");
    control->say("150 Go");

    EXPECT_EQ(m_data->receiveToEnd(), "hello");
    EXPECT_TRUE(m_data->tls().hasClientClosed());
    EXPECT_EQ(m_recorder.log(), (QStringList{ u"open"_s, u"space"_s }));
    control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"space"_s, u"end"_s }));
}

TEST_F(TlsDataTest, AnEmptyUploadSaysItsEndToo)
{
    startUpload(u"/empty"_s, "");
    auto control = open("STOR empty");

    EXPECT_EQ(m_data->receiveToEnd(), "");
    EXPECT_TRUE(m_data->tls().hasClientClosed());
}

TEST_F(TlsDataTest, AGivenUpUploadDoesNotSayThatItIsWhole)
{
    startUpload(u"/f"_s, QByteArray(tooMuch, 'x'));
    auto control = open("STOR f");
    ASSERT_TRUE(m_recorder.waitFor(u"space"_s));

    m_recorder.close();

    EXPECT_EQ(m_data->waitForEnd(), End::Reset);
    EXPECT_FALSE(m_data->tls().hasClientClosed());
}

TEST_F(TlsDataTest, AConfirmationBeforeAllThatWasEncryptedHasLeftConfirmsNothing)
{
    m_recorder.blockSize = tooMuch; // All of it is encrypted at once, and more than the system takes.
    startUpload(u"/f"_s, QByteArray(tooMuch, 'x'));
    auto control = open("STOR f");
    ASSERT_TRUE(m_recorder.waitFor(u"space"_s));

    control->say("226 Got it");

    EXPECT_NE(m_data->receiveToEnd().size(), tooMuch); // Not even when it is read afterwards.
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"other"_s);
}

TEST_F(TlsDataTest, DownloadsAndListingsEndByTheServersWordInsideTheEncryption)
{
    startDownload(u"/f"_s);
    auto control = open("RETR f", { "TYPE I", "SIZE f", "EPSV" });
    control->say("150 Here");
    m_data->sendBytes("hello");
    m_data->sayClosing();
    control->say("226 Done");
    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"end"_s }));
    EXPECT_EQ(m_recorder.data, "hello");
    EXPECT_EQ(m_data->waitForEnd(), End::Finished);
    EXPECT_TRUE(m_data->tls().hasClientClosed());

    startListing(u"/"_s);
    reopen(*control, "LIST");
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
        for (const char* size : { "213 10", "550 Unknown" }) {
            m_sizeReply = size;
            startDownload(u"/f"_s);
            auto control = open("RETR f", { "TYPE I", "SIZE f", "EPSV" });
            control->say("150 Here");
            m_data->sendBytes("hello");
            m_data->cut();
            if (isConfirmed) {
                control->say("226 Done");
            }

            EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"other"_s }));
        }
        startListing(u"/"_s);
        auto control = open("LIST");
        control->say("150 Here");
        m_data->sendBytes("-rw-r--r-- 1 a a 5 Jan 1 2020 f\r\n");
        m_data->cut();
        if (isConfirmed) {
            control->say("226 Done");
        }

        EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"other"_s }));
    }
}

TEST_F(TlsDataTest, DataThatIsCutWhenAllThatWasAnnouncedHasComeIsWholeIfTheServerSaysSo)
{
    startDownload(u"/f"_s);
    auto control = open("RETR f", { "TYPE I", "SIZE f", "EPSV" });
    control->say("150 Here");
    m_data->sendBytes("hello");
    m_data->cut();
    control->say("226 Done");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"end"_s }));
    EXPECT_EQ(m_recorder.data, "hello");
}

TEST_F(TlsDataTest, AListingThatIsCutBeforeItsFirstByteIsNoEmptyFolder)
{
    startListing(u"/"_s);
    auto control = open("LIST");
    control->say("150 Here");
    m_data->cut();
    control->say("226 Done");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"other"_s }));
}

TEST_F(TlsDataTest, UnencryptedBytesInsteadOfTheHandshakeAreAFailureWithoutASecondTry)
{
    m_timeouts.reason = 50ms;
    startDownload(u"/f"_s);
    auto control = logIn({ "TYPE I", "SIZE f", "EPSV" });
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
    startUpload(u"/f"_s, "secret data");
    auto control = logIn({ "TYPE I", "EPSV" });
    control->say("200 I");
    control->say(extendedPassive());
    m_data = m_dataPeer.accept();
    m_data->startTls(other);

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_EQ(m_data->receiveToEnd(), "");
}

TEST_F(TlsDataTest, ARefusalOfTheServerIsReportedWhileTheHandshakeWaits)
{
    startUpload(u"/f"_s, "x");
    auto control = logIn({ "TYPE I", "EPSV" });
    control->say("200 I");
    control->say(extendedPassive());
    m_data = m_dataPeer.accept();
    EXPECT_EQ(control->hear(), "STOR f");
    EXPECT_TRUE(m_recorder.log().isEmpty());

    control->say("553 Not this one");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 553"_s });
}

TEST_F(TlsDataTest, EveryDataConnectionTakesUpTheSessionOfTheControlConnection)
{
    for (const int version : { TLS1_2_VERSION, TLS1_3_VERSION }) {
        m_tls = TlsServerContext(m_certificate, version);
        auto control = upload(u"first"_s, "1");
        EXPECT_TRUE(m_data->tls().isResumed());

        startUpload(u"/second"_s, "2");
        reopen(*control, "STOR second");
        EXPECT_TRUE(m_data->tls().isResumed());
        EXPECT_EQ(m_data->tls().version(), version);
        m_recorder.close(); // A connection that is dropped must not cost the session.
        control->say("426 Broken");
        EXPECT_TRUE(waitFor([this] { return m_pool.idleCount() == 1; }));

        startUpload(u"/third"_s, "3");
        reopen(*control, "STOR third");
        EXPECT_TRUE(m_data->tls().isResumed());
        EXPECT_EQ(m_data->receiveToEnd(), "3");
        control->say("226 Got it");
        EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);

        m_pool.closeIdle(u"127.0.0.1"_s, m_peer.port());
        control->close();
        EXPECT_TRUE(waitFor([this] { return m_pool.connectionCount() == 0; }));
    }
}

TEST_F(TlsDataTest, WhatHasBeenReceivedAlreadyIsReadWhenTheLoopIsHeldNoLonger)
{
    startDownload(u"/f"_s);
    m_sizeReply = "550 Unknown";
    auto control = open("RETR f", { "TYPE I", "SIZE f", "EPSV" });
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

} // namespace
