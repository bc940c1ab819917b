#include "Metronome.h"
#include "StreamTest.h"

namespace {

/// Ben's uploads to a server that allows one session, which a kept connection of Anna's takes up.
class OtherLoginTest : public StreamTest {
protected:
    void SetUp() override { m_annas = upload(u"first"_s, "1"); }

    void startAsBen(StreamRecorder& recorder) { startUpload(recorder, u"/second"_s, "2", u"ben"_s); }

    void refuseLogin()
    {
        const auto refused = accept();
        refused->say("421 Only one");
        EXPECT_NE(refused->waitForEnd(), End::None);
    }

    /// Serves an upload of Ben's on the next connection, up to the confirmation.
    std::unique_ptr<PeerConnection> serveBen()
    {
        auto control = open("STOR second", { "TYPE I", "EPSV" }, "ben");
        EXPECT_EQ(m_data->receiveToEnd(), "2");
        return control;
    }

    std::unique_ptr<PeerConnection> m_annas;
    StreamRecorder m_bens;
    StreamRecorder m_bensOther;
};

TEST_F(OtherLoginTest, ARefusedLoginIsTriedAgainWhenTheServerHasLetTheOldOneGo)
{
    m_timeouts.drain = 1h;
    startAsBen(m_bens);
    refuseLogin();
    EXPECT_EQ(m_annas->hear(), "QUIT");
    m_annas->say("221 Bye");
    EXPECT_TRUE(m_peer.isLeftAlone());

    m_annas->close();

    auto control = serveBen();
    control->say("226 Got it");
    EXPECT_EQ(m_bens.waitForEnd(), (QStringList{ u"open"_s, u"space"_s, u"end"_s }));
}

TEST_F(OtherLoginTest, ASecondRefusalWhileTheOldLoginLastsIsWaitedOutToo)
{
    m_timeouts.drain = 1h;
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
    m_timeouts.drain = 1h;
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
    m_timeouts.drain = 1h;
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
    m_timeouts.drain = 1h;
    startAsBen(m_bens);
    auto control = serveBen();
    startAsBen(m_bensOther);
    refuseLogin();
    EXPECT_EQ(m_annas->hear(), "QUIT");

    control->say("226 Got it");

    reopen(*control, "STOR second");
    EXPECT_EQ(m_data->receiveToEnd(), "2");
}

TEST_F(OtherLoginTest, ALoginInUseIsWaitedForAndNotSentAway)
{
    startUpload(u"/another"_s, "1");
    reopen(*m_annas, "STOR another");
    startAsBen(m_bens);
    refuseLogin();
    EXPECT_TRUE(m_annas->isSilent());

    EXPECT_EQ(m_data->receiveToEnd(), "1");
    m_annas->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    EXPECT_EQ(m_annas->hear(), "QUIT");
    m_annas->close();
    EXPECT_NE(serveBen(), nullptr);
}

TEST_F(OtherLoginTest, ALoginThatIsLostMakesRoomWhateverOtherConnectionsThereAre)
{
    m_timeouts.reply = 1h; // None of the others goes.
    startUpload(u"/another"_s, "1");
    reopen(*m_annas, "STOR another");
    start(m_factory.createUploadStream(m_peer.location(u"/third"_s), 1), m_bensOther, u"cleo"_s);
    const auto cleos = accept();
    startAsBen(m_bens);
    refuseLogin();

    m_annas->reset();

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"other"_s);
    EXPECT_NE(serveBen(), nullptr);
}

TEST_F(OtherLoginTest, ALoginThatIsNotGivenUpIsWaitedForNoLongerThanTheLimit)
{
    m_timeouts.login = 100ms;
    startUpload(u"/another"_s, "1");
    reopen(*m_annas, "STOR another");
    startAsBen(m_bens);
    refuseLogin();

    EXPECT_EQ(m_bens.waitForEnd(), QStringList{ u"FTP 421"_s });

    EXPECT_TRUE(m_peer.isLeftAlone());
}

TEST_F(OtherLoginTest, TheLimitHoldsForAllTriesTogether)
{
    m_timeouts.login = 2s;
    startUpload(u"/another"_s, "1");
    reopen(*m_annas, "STOR another");
    start(m_factory.createUploadStream(m_peer.location(u"/third"_s), 1), m_bensOther, u"cleo"_s);
    auto cleos = accept();
    startAsBen(m_bens);
    refuseLogin();
    EXPECT_FALSE(waitFor([this] { return m_peer.isCalled(); }, 1200ms));
    EXPECT_EQ(m_data->receiveToEnd(), "1");
    m_annas->say("226 Got it");
    EXPECT_EQ(m_annas->hear(), "QUIT");
    m_annas->close();

    refuseLogin(); // Cleo is still there.
    const Metronome metronome(10ms);

    EXPECT_EQ(m_bens.waitForEnd(), QStringList{ u"FTP 421"_s });
    EXPECT_LT(metronome.beats(), 150);
}

TEST_F(OtherLoginTest, TheLimitHoldsForWhatATryTakesToo)
{
    m_timeouts.login = 300ms;
    startAsBen(m_bens);
    refuseLogin();
    m_annas->close();
    auto control = accept();
    control->say("220 Ready");

    EXPECT_EQ(m_bens.waitForEnd(), QStringList{ u"FTP 421"_s });
    EXPECT_EQ(m_bens.lastReply(), u"421 Only one"_s);
}

TEST_F(OtherLoginTest, BehindTheEndOfATryTheLimitReportsNothing)
{
    m_timeouts.login = 1s;
    startAsBen(m_bens);
    refuseLogin();
    m_annas->close();
    auto control = accept();
    control->say("500 Go away");
    EXPECT_EQ(m_bens.waitForEnd(), QStringList{ u"FTP 500"_s });

    EXPECT_FALSE(waitFor([this] { return m_bens.log().size() > 1; }, 1200ms));
}

TEST_F(OtherLoginTest, TheLimitHoldsNoLongerThanToTheLogin)
{
    m_timeouts.login = 1s;
    startAsBen(m_bens);
    refuseLogin();
    m_annas->close();
    auto control = logIn({ "TYPE I", "EPSV" }, "ben");
    EXPECT_TRUE(waitFor([this] { return m_bens.lastReply().startsWith(u"257"_s); }));

    EXPECT_FALSE(waitFor([this] { return !m_bens.log().isEmpty(); }, 1200ms));

    control->say("200 Fine");
    control->say(extendedPassive());
    acceptData();
    EXPECT_EQ(control->hear(), "STOR second");
}

TEST_F(OtherLoginTest, OneThatEndsBecauseNobodyUsesItMakesRoomWhenTheServerHasLetItGo)
{
    m_timeouts.drain = 1h;
    m_timeouts.idle = 50ms;
    startUpload(u"/another"_s, "1");
    reopen(*m_annas, "STOR another");
    EXPECT_EQ(m_data->receiveToEnd(), "1");
    m_annas->say("226 Got it");
    EXPECT_EQ(m_annas->hear(), "QUIT");
    startAsBen(m_bens);
    refuseLogin();
    EXPECT_TRUE(m_peer.isLeftAlone());
    EXPECT_EQ(m_bens.log(), QStringList());

    m_annas->close();

    EXPECT_NE(serveBen(), nullptr);
}

} // namespace
