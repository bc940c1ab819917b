#include "StreamTest.h"

namespace {

/// Ben's uploads to a server that allows one session, which a kept connection of Anna's takes up.
class OtherLoginTest : public StreamTest {
protected:
    void SetUp() override
    {
        startUpload(u"/first"_s, "1");
        m_annas = open("STOR first");
        m_data->receiveToEnd();
        m_annas->say("226 Got it");
        ASSERT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    }

    void startAsBen(StreamRecorder& recorder)
    {
        recorder.data = "2";
        recorder.start(m_factory.createUploadStream(m_peer.location(u"/second"_s), 1), u"ben"_s, u"secret"_s);
    }

    void refuseLogin()
    {
        auto refused = m_peer.accept();
        ASSERT_NE(refused, nullptr);
        refused->say("421 Only one");
        EXPECT_NE(refused->waitForEnd(), End::None);
    }

    /// Serves an upload of Ben's on the next connection, up to the confirmation.
    std::unique_ptr<PeerConnection> serveBen()
    {
        auto control = m_peer.accept();
        if (control == nullptr) {
            ADD_FAILURE() << "no control connection";
            return nullptr;
        }
        control->say("220 Ready");
        EXPECT_EQ(control->hear(5), (QByteArrayList{ "USER ben", "PASS secret", "PWD", "TYPE I", "EPSV" }));
        for (const char* reply : { "331 P", "230 In", "257 \"/home\"", "200 I" }) {
            control->say(reply);
        }
        serveData(*control);
        return control;
    }

    void serveData(PeerConnection& control)
    {
        control.say(extendedPassive());
        m_data = m_dataPeer.accept();
        ASSERT_NE(m_data, nullptr);
        EXPECT_EQ(control.hear(), "STOR second");
        EXPECT_EQ(m_data->receiveToEnd(), "2");
    }

    std::unique_ptr<PeerConnection> m_annas;
    StreamRecorder m_bens;
    StreamRecorder m_bensOther;
};

TEST_F(OtherLoginTest, ARefusedLoginIsTriedAgainWhenTheServerHasLetTheOldOneGo)
{
    startAsBen(m_bens);
    refuseLogin();
    EXPECT_EQ(m_annas->hear(), "QUIT");
    m_annas->say("221 Bye");
    EXPECT_TRUE(m_peer.isLeftAlone());

    m_annas->close();
    EXPECT_TRUE(m_peer.isLeftAlone()); // The server may count the session for a moment longer.

    auto control = serveBen();
    ASSERT_NE(control, nullptr);
    control->say("226 Got it");
    EXPECT_EQ(m_bens.waitForEnd(), (QStringList{ u"open"_s, u"space"_s, u"end"_s }));
}

TEST_F(OtherLoginTest, ASecondRefusalWhileTheOldLoginLastsIsWaitedOutToo)
{
    m_pool.closeIdle(u"127.0.0.1"_s, m_peer.port());
    EXPECT_EQ(m_annas->hear(), "QUIT");
    startAsBen(m_bens);
    refuseLogin();
    EXPECT_TRUE(m_peer.isLeftAlone());
    EXPECT_EQ(m_bens.log(), QStringList());

    m_annas->close();

    EXPECT_NE(serveBen(), nullptr);
}

TEST_F(OtherLoginTest, AServerThatDoesNotLetTheOldLoginGoIsWaitedForOnlyAWhile)
{
    m_timeouts.drain = 50ms;
    startAsBen(m_bens);
    refuseLogin();
    EXPECT_EQ(m_annas->hear(), "QUIT");

    EXPECT_NE(m_annas->waitForEnd(), End::None);

    refuseLogin();
    EXPECT_EQ(m_bens.waitForEnd(), QStringList{ u"FTP 421"_s });
}

TEST_F(OtherLoginTest, AConnectionThatWasClosedIsNotTakenOverWhileItLasts)
{
    m_pool.closeIdle(u"127.0.0.1"_s, m_peer.port());
    EXPECT_EQ(m_annas->hear(), "QUIT");
    m_annas->say("221 Bye");
    EXPECT_FALSE(waitFor([this] { return m_pool.idleCount() > 0; }, 50ms));

    startUpload(u"/second"_s, "2");

    EXPECT_NE(logIn({ "TYPE I", "EPSV" }), nullptr);
    EXPECT_TRUE(m_annas->isSilent());
}

TEST_F(OtherLoginTest, AWaiterThatIsGoneDoesNotKeepTheNextWaitingForTheOldLogin)
{
    startAsBen(m_bens);
    refuseLogin();
    startAsBen(m_bensOther);
    refuseLogin();
    EXPECT_EQ(m_annas->hear(), "QUIT");
    m_bens.close();

    m_annas->close();

    EXPECT_NE(serveBen(), nullptr);
}

TEST_F(OtherLoginTest, AConnectionOfItsOwnThatBecomesFreeIsTakenWithoutWaitingForTheOldLogin)
{
    m_timeouts.drain = 10s; // Longer than a line is waited for.
    startAsBen(m_bens);
    auto control = serveBen();
    ASSERT_NE(control, nullptr);
    startAsBen(m_bensOther);
    refuseLogin();
    EXPECT_EQ(m_annas->hear(), "QUIT");

    control->say("226 Got it");

    EXPECT_EQ(control->hear(), "EPSV");
    serveData(*control);
}

/// The same where Anna's connection ends because nobody used it.
class UnusedOtherLoginTest : public OtherLoginTest {
protected:
    void SetUp() override
    {
        m_timeouts.idle = 50ms;
        OtherLoginTest::SetUp();
    }
};

TEST_F(UnusedOtherLoginTest, ARefusedLoginIsTriedAgainWhenTheServerHasLetTheOldOneGo)
{
    EXPECT_EQ(m_annas->hear(), "QUIT");
    startAsBen(m_bens);
    refuseLogin();
    EXPECT_TRUE(m_peer.isLeftAlone());
    EXPECT_EQ(m_bens.log(), QStringList());

    m_annas->close();

    EXPECT_NE(serveBen(), nullptr);
}

} // namespace
