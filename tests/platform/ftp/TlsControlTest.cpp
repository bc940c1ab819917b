// What is said before and inside the encryption of a control connection.

#include "TlsStreamTest.h"

namespace {

using TlsControlTest = TlsStreamTest;

TEST_F(TlsControlTest, NothingIsSaidBeforeTheHandshakeButTheWishForIt)
{
    startSecureUpload(u"/f"_s, "x");
    auto control = m_peer.accept();
    ASSERT_NE(control, nullptr);
    EXPECT_TRUE(control->isSilent());

    control->say("220 Ready");

    EXPECT_EQ(control->hear(), "AUTH TLS");
    EXPECT_TRUE(control->isSilent());
}

TEST_F(TlsControlTest, LoginAndSetUpFollowAtOneStrokeInsideIt)
{
    startSecureUpload(u"/sub/f"_s, "x");
    auto control = secure();

    EXPECT_EQ(control->hear(8),
              (QByteArrayList{ "PBSZ 0", "PROT P", "USER anna", "PASS secret", "PWD", "CWD sub", "TYPE I", "EPSV" }));
    EXPECT_TRUE(control->isSilent());
}

TEST_F(TlsControlTest, AServerThatStumblesIsAskedInTurnInsideIt)
{
    startSecureUpload(u"/f"_s, "x");
    auto first = secure();
    first->hear(7);
    first->say("200 0");
    first->say("503 One at a time");

    auto second = secure();

    for (const auto& [command, reply] :
         { std::pair{ "PBSZ 0", "200 0" }, std::pair{ "PROT P", "200 P" }, std::pair{ "USER anna", "331 P" },
           std::pair{ "PASS secret", "230 In" }, std::pair{ "PWD", "257 \"/\"" }, std::pair{ "TYPE I", "200 I" } }) {
        EXPECT_EQ(second->hear(), command);
        EXPECT_TRUE(second->isSilent());
        second->say(reply);
    }
    EXPECT_EQ(second->hear(), "EPSV");
}

TEST_F(TlsControlTest, WithoutTheServersConsentNothingMoreIsSaid)
{
    for (const char* reply :
         { "500 What", "502 Not here", "530 Log in first", "534 No", "431 Later", "200 Fine", "334 More", "AUTH" }) {
        SCOPED_TRACE(reply);
        startSecureUpload(u"/f"_s, "x");
        auto control = m_peer.accept();
        ASSERT_NE(control, nullptr);
        control->say("220 Ready");
        control->hear();

        control->say(reply);

        EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
        EXPECT_NE(control->waitForEnd(), End::None);
        EXPECT_EQ(control->receiveToEnd(), "");
    }
    EXPECT_TRUE(m_peer.isLeftAlone());
}

TEST_F(TlsControlTest, AServerThatIsBusySaysSoWithItsCode)
{
    startSecureUpload(u"/f"_s, "x");
    auto control = m_peer.accept();
    control->say("220 Ready");
    control->hear();

    control->say("421 Too many");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 421"_s });
}

TEST_F(TlsControlTest, RepliesInjectedBeforeTheHandshakeAreDropped)
{
    startSecureUpload(u"/f"_s, "x");
    auto control = m_peer.accept();
    control->say("220 Ready");
    control->hear();

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

TEST_F(TlsControlTest, AConsentSentAheadDoesNotOpenTheWayToClearText)
{
    startSecureUpload(u"/f"_s, "x");
    auto control = m_peer.accept();

    control->sendBytes("220 Ready\r\n234 Go on\r\n331 P\r\n230 In\r\n");
    control->hear();
    control->say("234 Go on"); // In the midst of the handshake.

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    const QByteArray rest = control->receiveToEnd();
    EXPECT_FALSE(rest.contains("USER"));
    EXPECT_FALSE(rest.contains("secret"));
}

TEST_F(TlsControlTest, AHandshakeThatFailsIsAnErrorOfTheOtherDomain)
{
    startSecureUpload(u"/f"_s, "x");
    auto control = m_peer.accept();
    control->say("220 Ready");
    control->hear();
    control->say("234 Go on");
    EXPECT_FALSE(control->receive(1).isEmpty()); // What comes ahead of the handshake is dropped.

    control->say("230 In");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_FALSE(control->receiveToEnd().contains("USER"));
    EXPECT_EQ(m_peer.connectionCount(), 1);
}

TEST_F(TlsControlTest, AServerThatKeepsSilentInTheHandshakeIsGivenUp)
{
    m_timeouts.reply = 50ms;
    startSecureUpload(u"/f"_s, "x");
    auto control = m_peer.accept();
    control->say("220 Ready");
    control->hear();
    control->say("234 Go on");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
}

TEST_F(TlsControlTest, WithoutProtectionOfDataNothingIsMoved)
{
    startSecureUpload(u"/f"_s, "x");
    auto control = secure();
    control->hear(7);
    for (const char* reply : { "200 0", "536 Not here", "331 P", "230 In", "257 \"/\"", "200 I" }) {
        control->say(reply);
    }
    control->say(extendedPassive());

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_TRUE(m_dataPeer.isLeftAlone());
}

TEST_F(TlsControlTest, ARefusalOfPbszAloneDoesNotMatter)
{
    startSecureUpload(u"/f"_s, "x");
    auto control = secure();
    control->hear(7);
    for (const char* reply : { "502 What", "200 P", "331 P", "230 In", "257 \"/\"", "200 I" }) {
        control->say(reply);
    }
    control->say(extendedPassive());
    acceptData();

    EXPECT_EQ(m_data->receive(1), "x");
}

TEST_F(TlsControlTest, HowTheLatestTransferWasProtectedIsTold)
{
    m_tls = TlsServerContext(m_certificate, TLS1_2_VERSION);
    startSecureUpload(u"/f"_s, "x");
    auto encrypted = openSecurely("STOR f");
    ASSERT_TRUE(m_factory.lastSecurity());
    EXPECT_EQ(m_factory.lastSecurity()->protocol, u"TLSv1.2"_s);
    EXPECT_TRUE(m_factory.lastSecurity()->cipher.contains(u"AES"_s)
                || m_factory.lastSecurity()->cipher.contains(u"CHACHA"_s));
    EXPECT_FALSE(m_factory.lastSecurity()->isVouchedFor);
    m_recorder.close();

    startUpload(u"/g"_s, "x");
    auto plain = open("STOR g");
    EXPECT_TRUE(m_factory.lastSecurity()->protocol.isNull());
}

TEST_F(TlsControlTest, ConnectionsWithAndWithoutEncryptionAreKeptApart)
{
    startUpload(u"/f"_s, "x");
    auto plain = open("STOR f");
    m_data->receiveToEnd();
    plain->say("226 Got it");
    m_recorder.waitForEnd();

    startSecureUpload(u"/g"_s, "y");
    auto encrypted = openSecurely("STOR g");
    EXPECT_EQ(m_data->receiveToEnd(), "y");
    encrypted->say("226 Got it");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);

    startUpload(u"/h"_s, "z");
    EXPECT_EQ(plain->hear(), "EPSV");
    EXPECT_EQ(m_peer.connectionCount(), 2);
}

} // namespace
