#include "StreamTest.h"

namespace {

/// Begins with a first upload done, its control connection kept.
class KeptConnectionTest : public StreamTest {
protected:
    void SetUp() override
    {
        startUpload(u"/first"_s, "1");
        m_control = open("STOR first");
        m_data->receiveToEnd();
        m_control->say("226 Got it");
        ASSERT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    }

    /// Serves a second upload on a connection of its own.
    void expectUploadOnFreshConnection()
    {
        auto control = open("STOR second");
        ASSERT_NE(control, nullptr);
        EXPECT_EQ(m_data->receiveToEnd(), "2");
        control->say("226 Got it");
        EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"space"_s, u"end"_s }));
        EXPECT_EQ(m_peer.connectionCount(), 2);
    }

    std::unique_ptr<PeerConnection> m_control;
};

TEST_F(KeptConnectionTest, EndedByTheServerItIsReplacedSilently)
{
    m_control->close();

    startUpload(u"/second"_s, "2");

    expectUploadOnFreshConnection();
}

TEST_F(KeptConnectionTest, EndedWith421ItIsReplacedSilently)
{
    m_control->say("421 Idle for too long");
    m_control->close();
    drainEventLoop();

    startUpload(u"/second"_s, "2");

    expectUploadOnFreshConnection();
}

TEST_F(KeptConnectionTest, AnsweredWith421ItIsReplacedSilently)
{
    startUpload(u"/second"_s, "2");
    EXPECT_EQ(m_control->hear(), "EPSV");
    m_control->say("421 Idle for too long");

    expectUploadOnFreshConnection();
}

TEST_F(KeptConnectionTest, DroppedAtTheNextCommandItIsReplacedSilently)
{
    startUpload(u"/second"_s, "2");
    EXPECT_EQ(m_control->hear(), "EPSV");
    m_control->reset();

    expectUploadOnFreshConnection();
}

TEST_F(KeptConnectionTest, SilentAtTheNextCommandItIsReplaced)
{
    m_timeouts.reply = 50ms;
    startUpload(u"/second"_s, "2");
    EXPECT_EQ(m_control->hear(), "EPSV");
    m_timeouts.reply = 10s;
    ASSERT_NE(m_control->waitForEnd(), End::None);

    expectUploadOnFreshConnection();
}

TEST_F(KeptConnectionTest, ItIsNotReplacedOnceAReplyWasSeen)
{
    startUpload(u"/second"_s, "2");
    m_control->hear();
    m_control->say(extendedPassive());
    m_control->hear();
    m_control->reset();

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"other"_s);
    EXPECT_EQ(m_peer.connectionCount(), 1);
}

TEST_F(KeptConnectionTest, ItIsReplacedOnlyOnce)
{
    startUpload(u"/second"_s, "2");
    m_control->reset();
    auto second = m_peer.accept();
    ASSERT_NE(second, nullptr);
    second->reset();

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_EQ(m_peer.connectionCount(), 2);
}

TEST_F(KeptConnectionTest, AnUnaskedReplyMakesItUnfitForUse)
{
    m_control->say("200 By the way");
    EXPECT_NE(m_control->waitForEnd(), End::None);

    startUpload(u"/second"_s, "2");

    expectUploadOnFreshConnection();
}

TEST_F(KeptConnectionTest, AnotherLoginHasItsOwn)
{
    m_recorder.start(m_factory.createUploadStream(m_peer.location(u"/f"_s), 1), u"ben"_s, u"secret"_s);

    EXPECT_NE(m_peer.accept(), nullptr);
}

TEST_F(KeptConnectionTest, WithoutAKnownLoginFolderAnotherFolderTakesAFreshOne)
{
    ScriptedPeer peer;
    m_recorder.data = "1";
    m_recorder.start(m_factory.createUploadStream(peer.location(u"/first"_s), 1));
    auto control = peer.accept();
    control->say("220 Ready");
    control->hear(5);
    for (const char* reply : { "331 P", "230 In", "502 No PWD", "200 I" }) {
        control->say(reply);
    }
    control->say(extendedPassive());
    m_dataPeer.accept()->receiveToEnd();
    control->hear();
    control->say("226 Got it");
    m_recorder.waitForEnd();

    m_recorder.start(m_factory.createUploadStream(peer.location(u"/sub/second"_s), 1));

    auto second = peer.accept();
    ASSERT_NE(second, nullptr);
    second->say("220 Ready");
    EXPECT_EQ(second->hear(4).last(), "CWD sub");
}

TEST_F(KeptConnectionTest, UnusedItEndsWithAQuit)
{
    ScriptedPeer peer;
    m_timeouts.idle = 50ms;
    m_timeouts.drain = 50ms;
    m_recorder.start(m_factory.createFolderStream(peer.location(u"/d"_s)));
    auto control = peer.accept();
    control->say("220 Ready");
    for (const char* reply : { "331 P", "230 In", "257 \"/\"", "200 I" }) {
        control->say(reply);
    }
    control->hear(5);
    control->say("257 \"/d\" made");
    m_recorder.waitForEnd();

    EXPECT_EQ(control->hear(), "QUIT");
    EXPECT_NE(control->waitForEnd(), End::None);
}

TEST_F(KeptConnectionTest, ItCanBeClosedAheadOfACallToTheSameServer)
{
    m_timeouts.drain = 50ms;

    m_pool.closeIdle(u"127.0.0.1"_s, m_peer.port());

    EXPECT_EQ(m_control->hear(), "QUIT");
    EXPECT_NE(m_control->waitForEnd(), End::None);
}

TEST_F(KeptConnectionTest, AnUploadGivenUpIsResetAndItsConnectionServesAgainAfterTheReply)
{
    startUpload(u"/second"_s, QByteArray(64 * 1024 * 1024, 'x'));
    m_control->hear();
    m_control->say(extendedPassive());
    auto data = m_dataPeer.accept();
    m_control->hear();
    m_control->say("150 Go");
    ASSERT_TRUE(m_recorder.waitFor(u"space"_s));

    m_recorder.close();
    EXPECT_EQ(data->waitForEnd(), End::Reset);
    m_control->say("426 Interrupted");
    ASSERT_TRUE(waitFor([this] { return m_pool.idleCount() > 0; }));
    startUpload(u"/third"_s, "3");

    EXPECT_EQ(m_control->hear(), "EPSV");
    EXPECT_EQ(m_peer.connectionCount(), 1);
}

TEST_F(KeptConnectionTest, AnUploadGivenUpWithoutAReplyCostsTheConnection)
{
    m_timeouts.drain = 50ms;
    startUpload(u"/second"_s, QByteArray(64 * 1024 * 1024, 'x'));
    m_control->hear();
    m_control->say(extendedPassive());
    m_control->hear();
    ASSERT_TRUE(m_recorder.waitFor(u"space"_s));

    m_recorder.close();

    EXPECT_NE(m_control->waitForEnd(), End::None);
}

/// A second transfer, started while the first one keeps the only login that the server allows.
class OnlyOneLoginTest : public KeptConnectionTest {
protected:
    void startBoth()
    {
        startUpload(u"/second"_s, "2");
        m_control->hear();
        m_control->say(extendedPassive());
        m_data = m_dataPeer.accept();
        m_control->hear();
        m_data->receiveToEnd();

        m_other.data = "3";
        m_other.start(m_factory.createUploadStream(m_peer.location(u"/third"_s), 1));
        auto refused = m_peer.accept();
        ASSERT_NE(refused, nullptr);
        refused->say("421 Only one");
        ASSERT_NE(refused->waitForEnd(), End::None);
        EXPECT_TRUE(m_other.log().isEmpty());
    }

    StreamRecorder m_other;
};

TEST_F(OnlyOneLoginTest, TheFreedConnectionIsReused)
{
    startBoth();

    m_control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    EXPECT_EQ(m_control->hear(), "EPSV");
    m_control->say(extendedPassive());
    EXPECT_EQ(m_dataPeer.accept()->receiveToEnd(), "3");
    EXPECT_EQ(m_control->hear(), "STOR third");
    m_control->say("226 Got it");
    EXPECT_EQ(m_other.waitForEnd().last(), u"end"_s);
}

TEST_F(OnlyOneLoginTest, WhenTheConnectionIsLostAFreshOneIsTried)
{
    startBoth();

    m_control->reset();

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"other"_s);
    EXPECT_NE(logIn({ "TYPE I", "EPSV" }), nullptr);
}

TEST_F(OnlyOneLoginTest, GivenUpWhileItWaitsItTakesNothing)
{
    startBoth();
    m_other.close();

    m_control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    EXPECT_TRUE(m_control->isSilent());
}

} // namespace
