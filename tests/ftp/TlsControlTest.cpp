// What is said before and inside the encryption of a control connection.

#include "StreamTest.h"

namespace {

class TlsControlTest : public TlsStreamTest {
protected:
    /// Greets and hears the wish for encryption.
    std::unique_ptr<PeerConnection> hearWish()
    {
        auto control = accept();
        control->say("220 Ready");
        EXPECT_EQ(control->hear(), "AUTH TLS");
        return control;
    }
};

TEST_F(TlsControlTest, NothingIsSentBeforeTheHandshakeButTheRequestForIt)
{
    startUpload(u"/f"_s, "x");
    auto control = accept();
    EXPECT_TRUE(control->isSilent());

    control->say("220 Ready");

    EXPECT_EQ(control->hear(), "AUTH TLS");
    EXPECT_TRUE(control->isSilent());
}

TEST_F(TlsControlTest, LoginAndSetUpFollowAtOneStrokeInsideIt)
{
    startUpload(u"/sub/f"_s, "x");
    auto control = greet();

    EXPECT_EQ(control->hear(8),
              (QByteArrayList{ "PBSZ 0", "PROT P", "USER anna", "PASS secret", "PWD", "CWD sub", "TYPE I", "EPSV" }));
    EXPECT_TRUE(control->isSilent());
}

TEST_F(TlsControlTest, WithoutTheServersConsentNothingMoreIsSaid)
{
    for (const char* reply :
         { "500 What", "502 Not here", "530 Log in first", "534 No", "431 Later", "200 Fine", "334 More", "AUTH" }) {
        SCOPED_TRACE(reply);
        startUpload(u"/f"_s, "x");
        auto control = hearWish();

        control->say(reply);

        EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
        EXPECT_NE(control->waitForEnd(), End::None);
        EXPECT_EQ(control->receiveToEnd(), "");
    }
    EXPECT_TRUE(m_peer.isLeftAlone());
}

TEST_F(TlsControlTest, AServerThatIsBusySaysSoWithItsCode)
{
    startUpload(u"/f"_s, "x");
    auto control = hearWish();

    control->say("421 Too many");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 421"_s });
}

TEST_F(TlsControlTest, RepliesInjectedBeforeTheHandshakeAreDropped)
{
    startUpload(u"/f"_s, "x");
    auto control = hearWish();

    control->sendBytes("234 Go on\r\n331 P\r\n230 In\r\n200 0\r\n200 P\r\n257 \"/\"\r\n200 I\r\n229 (|||1|)\r\n");

    ASSERT_TRUE(control->startTls(m_tls));
    EXPECT_EQ(control->hear(7).last(), "EPSV");
    EXPECT_TRUE(control->isSilent()); // Nothing has been answered yet.
    EXPECT_TRUE(m_recorder.log().isEmpty());
    control->say("200 0");
    control->say("200 P");
    control->say("530 No");
    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 530"_s });
}

TEST_F(TlsControlTest, HalfAReplyInjectedBeforeTheHandshakeIsDroppedToo)
{
    for (const char* half : { "5", "530 N", "331-Hello", "331-Hello\r\n33" }) {
        SCOPED_TRACE(half);
        m_pool.closeIdle(u"127.0.0.1"_s, m_peer.port());
        startUpload(u"/f"_s, "x");
        auto control = hearWish();

        control->sendBytes(QByteArray("234 Go on\r\n") + half);

        ASSERT_TRUE(control->startTls(m_tls));
        EXPECT_EQ(control->hear(), "PBSZ 0");
        control->say("200 Size 0");
        ASSERT_TRUE(waitFor([this] { return m_recorder.lastReply() != u"234 Go on"_s; }));
        EXPECT_EQ(m_recorder.lastReply(), u"200 Size 0"_s);
        control->answer({ "200 P", "331 P", "230 In", "257 \"/\"", "200 I" });
        reopen(*control, "STOR f");
        EXPECT_EQ(m_data->receiveToEnd(), "x");
        control->say("226 Got it");
        EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    }
}

TEST_F(TlsControlTest, AConsentSentAheadDoesNotOpenTheWayToClearText)
{
    startUpload(u"/f"_s, "x");
    auto control = accept();

    control->sendBytes("220 Ready\r\n234 Go on\r\n331 P\r\n230 In\r\n");
    EXPECT_EQ(control->hear(), "AUTH TLS");
    EXPECT_NE(control->receive(1), "");
    control->say("234 Go on"); // In the midst of the handshake.

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    const QByteArray rest = control->receiveToEnd();
    EXPECT_FALSE(rest.contains("USER"));
    EXPECT_FALSE(rest.contains("secret"));
}

/// Leaves when the encryption is agreed and has not begun.
class HastyUser final : public ControlConnectionUser {
public:
    ControlConnection* connection = nullptr;

    void replyArrived(const FTPCommand& command, const Reply& /*reply*/) override
    {
        if (command.verb == FTPVerb::Greeting) {
            connection->startEncryption();
            connection->quit();
        }
    }
    void unaskedReplyArrived(const Reply& /*reply*/) override { }
    void encryptionStands() override { }
    void connectionLost() override { }
};

TEST_F(TlsControlTest, OnceEncryptionIsAgreedNothingIsSaidWithoutIt)
{
    HastyUser user;
    FTPServerKey key;
    key.host = u"127.0.0.1"_s;
    key.port = m_peer.port();
    key.encryption = FTPEncryption::Required;
    ControlConnection connection(key, DeliveryGate::ofThisThread(), traits());
    user.connection = &connection;
    connection.setUser(&user);
    connection.open();
    auto control = accept();

    control->say("220 Ready");

    EXPECT_FALSE(control->receiveToEnd().contains("QUIT"));
}

TEST_F(TlsControlTest, AHandshakeThatFailsIsAnErrorOfTheOtherDomain)
{
    startUpload(u"/f"_s, "x");
    auto control = hearWish();
    control->say("234 Go on");
    EXPECT_NE(control->receive(1), ""); // What comes ahead of the handshake is dropped.

    control->say("230 In");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_FALSE(control->receiveToEnd().contains("USER"));
    EXPECT_EQ(m_peer.connectionCount(), 1);
}

TEST_F(TlsControlTest, WithoutProtectionOfDataNothingIsMoved)
{
    startUpload(u"/f"_s, "x");
    auto control = greet();
    EXPECT_EQ(control->hear(7).last(), "EPSV");

    control->say("200 0");
    control->say("536 Not here");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_TRUE(m_dataPeer.isLeftAlone());
}

TEST_F(TlsControlTest, ARefusalOfPbszAloneDoesNotMatter)
{
    startUpload(u"/f"_s, "x");
    auto control = greet();
    control->answer({ "502 What", "200 P", "331 P", "230 In", "257 \"/\"", "200 I" });
    reopen(*control, "STOR f");

    EXPECT_EQ(m_data->receive(1), "x");
}

TEST_F(TlsControlTest, AStreamTellsHowItWasProtected)
{
    m_tls = TlsServerContext(m_certificate, TLS1_2_VERSION);
    startUpload(u"/f"_s, "x");
    auto encrypted = open("STOR f");
    EXPECT_EQ(m_recorder.security().protocol, u"TLSv1.2"_s);
    EXPECT_TRUE(m_recorder.security().cipher.contains(u"AES"_s) || m_recorder.security().cipher.contains(u"CHACHA"_s));
    EXPECT_FALSE(m_recorder.security().isTrustedBySystem);
    m_recorder.close();

    m_encryption = FTPEncryption::None;
    startUpload(u"/g"_s, "x");
    auto plain = open("STOR g");
    EXPECT_TRUE(m_recorder.security().protocol.isNull());
}

TEST_F(TlsControlTest, ConnectionsWithAndWithoutEncryptionAreKeptApart)
{
    m_encryption = FTPEncryption::None;
    auto plain = upload(u"f"_s, "x");
    m_encryption = FTPEncryption::Required;
    auto encrypted = upload(u"g"_s, "y");
    m_encryption = FTPEncryption::None;

    startUpload(u"/h"_s, "z");

    EXPECT_EQ(plain->hear(), "EPSV");
    EXPECT_TRUE(encrypted->isSilent());
}

} // namespace
