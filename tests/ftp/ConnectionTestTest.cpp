#include "EngineConnections.h"
#include "FTPConnectionTest.h"
#include "RecordingJudge.h"
#include "StreamTest.h"

#include <gmock/gmock.h>

#include <vector>

namespace {

using State = FTPConnectionTestState;

class ConnectionTestTest : public StreamTest {
protected:
    void test(const QString& path = u"/in"_s, const QString& password = u"secret"_s)
    {
        testAt(m_peer.location(path), password);
    }
    void testAt(const QString& location, const QString& password = u"secret"_s, bool createsFolder = false)
    {
        m_states.clear();
        m_last = {};
        m_connectionTest = m_judged.startConnectionTest({ location, u"anna"_s, password, m_encryption, createsFolder },
                                                        [this](const FTPConnectionTestReport& report) {
                                                            m_states.push_back(report.state);
                                                            m_last = report;
                                                            if (m_stopsAt == report.state) {
                                                                m_connectionTest.reset();
                                                            }
                                                        });
    }
    bool hasEnded() const { return !m_states.empty() && isEnd(m_states.back()); }
    State waitForEnd()
    {
        EXPECT_TRUE(waitFor([this] { return hasEnded(); }));
        return m_states.empty() ? State::Connecting : m_states.back();
    }
    /// Takes the connection, greets, and hears the commands, each of which is answered by the test.
    std::unique_ptr<PeerConnection> hearProbe(const QByteArrayList& expected
                                              = { "USER anna", "PASS secret", "PWD", "CWD in", "TYPE I" })
    {
        auto control = greet();
        EXPECT_EQ(control->hear(static_cast<int>(expected.size())), expected);
        return control;
    }
    static void say(PeerConnection& control, const QByteArrayList& replies)
    {
        for (const QByteArray& reply : replies) {
            control.say(reply);
        }
    }
    /// Greets and answers the commands, as far as @p replies go, the greeting first.
    static void answer(PeerConnection& control, const QByteArrayList& replies)
    {
        if (!replies.isEmpty()) {
            control.say(replies.front());
            control.answer(replies.sliced(1));
        }
    }

    /// Begins a test that makes its folder and serves it up to where it stands in the login folder.
    std::unique_ptr<PeerConnection> createFolder(const QString& path)
    {
        testAt(m_peer.location(path), u"secret"_s, true);
        auto control = hearProbe({ "USER anna", "PASS secret", "PWD", "TYPE I" });
        say(*control, { "331 Password", "230 In", "257 \"/home\" is it", "200 Fine" });
        return control;
    }
    /// Hears each of the commands alone and says the reply beside it.
    static void converse(PeerConnection& control, const QList<std::pair<QByteArray, QByteArray>>& turns)
    {
        for (const auto& [command, reply] : turns) {
            EXPECT_EQ(control.hear(), command);
            EXPECT_TRUE(control.isSilent());
            control.say(reply);
        }
    }

    RecordingJudge m_judge;
    EngineConnections m_judged{ m_engine, &m_judge };
    std::unique_ptr<FTPConnectionTest> m_connectionTest;
    std::vector<State> m_states;
    FTPConnectionTestReport m_last;
    std::optional<State> m_stopsAt;
};

TEST_F(ConnectionTestTest, ItGoesAsFarAsTheFolderAndQuits)
{
    test();
    EXPECT_TRUE(m_states.empty()); // From the loop, as always.
    auto control = hearProbe();
    say(*control, { "331 Password", "230 In" });
    EXPECT_TRUE(waitFor([this] { return m_last.state == State::OpeningFolder; }));
    say(*control, { "257 \"/home\" is it", "250 There", "200 Fine" });

    EXPECT_EQ(waitForEnd(), State::Works);

    EXPECT_THAT(m_states, testing::ElementsAre(State::LoggingIn, State::OpeningFolder, State::Works));
    EXPECT_EQ(m_last.reply, u"200 Fine"_s);
    EXPECT_EQ(m_last.security, FTPSecurity());
    EXPECT_EQ(control->hear(), "QUIT");
    EXPECT_TRUE(control->isSilent());
}

TEST_F(ConnectionTestTest, NothingOfItStaysBehind)
{
    test();
    auto control = hearProbe();
    say(*control, { "331 Password", "230 In", "257 \"/home\" is it", "250 There", "200 Fine" });
    waitForEnd();

    EXPECT_EQ(m_pool.idleCount(), 0);
}

TEST_F(ConnectionTestTest, EveryRefusalIsToldWithTheServersWords)
{
    const std::vector<std::tuple<QByteArrayList, State, QString>> refusals{
        { { "530 No such user" }, State::LoginRefused, u"530 No such user"_s },
        { { "331 Password", "530 secret is wrong" }, State::LoginRefused, u"530 **** is wrong"_s },
        { { "331 Password", "230 In", "257 \"/\"", "550 No <b>such</b> folder" },
          State::FolderRefused,
          u"550 No <b>such</b> folder"_s },
        { { "331 Password", "230 In", "257 \"/\"", "250 There", "504 No" }, State::FolderRefused, u"504 No"_s },
        { { "421 Too many" }, State::LoginRefused, u"421 Too many"_s },
    };
    for (const auto& [replies, state, reply] : refusals) {
        SCOPED_TRACE(reply.toStdString());
        test();
        auto control = greet();
        control->answer(replies);

        EXPECT_EQ(waitForEnd(), state);
        EXPECT_EQ(m_last.reply, reply);
        control->close();
        ASSERT_TRUE(waitFor([this] { return m_pool.connectionCount() == 0; }));
    }
}

TEST_F(ConnectionTestTest, ARefusalInTheGreetingIsARefusedLogin)
{
    test();
    accept()->say("530 Go away");

    EXPECT_EQ(waitForEnd(), State::LoginRefused);
    EXPECT_EQ(m_last.reply, u"530 Go away"_s);
    EXPECT_FALSE(m_last.security);
}

TEST_F(ConnectionTestTest, AKeptConnectionDoesNotHideAWrongPasswordAndIsClosedFirst)
{
    m_timeouts.loginReason = 50ms;
    auto kept = upload(u"f"_s, "x");

    test(u"/in"_s, u"wrong"_s);

    EXPECT_EQ(kept->hear(), "QUIT");
    auto control = hearProbe({ "USER anna", "PASS wrong", "PWD", "CWD in", "TYPE I" });
    say(*control, { "331 Password", "530 No" });
    EXPECT_EQ(waitForEnd(), State::LoginRefused);
}

TEST_F(ConnectionTestTest, AServerThatAllowsOneLoginIsTriedAgainWhenTheOtherHasLeft)
{
    auto kept = upload(u"f"_s, "x");
    test();
    EXPECT_EQ(kept->hear(), "QUIT");
    accept()->say("421 One is enough");

    kept->close();

    auto control = hearProbe();
    say(*control, { "331 Password", "230 In", "257 \"/\"", "250 There", "200 Fine" });
    EXPECT_EQ(waitForEnd(), State::Works);
}

TEST_F(ConnectionTestTest, SilenceAtEveryStageIsNoAnswer)
{
    m_timeouts.reply = 150ms;
    m_timeouts.connect = 150ms;
    const QByteArrayList replies{ "220 Ready", "331 Password", "230 In", "257 \"/\"", "250 There" };
    for (qsizetype said = 0; said <= replies.size(); ++said) {
        SCOPED_TRACE(said);
        ScriptedPeer peer;
        forget(peer);
        testAt(peer.location(u"/in"_s));
        std::vector<std::unique_ptr<PeerConnection>> connections;
        while (waitFor([this, &peer] { return hasEnded() || peer.isCalled(); }) && !hasEnded()) {
            connections.push_back(peer.accept());
            say(*connections.back(), replies.first(said));
        }

        EXPECT_EQ(waitForEnd(), State::NoAnswer);
    }
}

TEST_F(ConnectionTestTest, AConnectionThatBreaksAtAnyStageIsLost)
{
    const QByteArrayList replies{ "220 Ready", "331 Password", "230 In", "257 \"/\"", "250 There" };
    for (qsizetype said = 0; said <= replies.size(); ++said) {
        SCOPED_TRACE(said);
        ScriptedPeer peer;
        forget(peer);
        testAt(peer.location(u"/in"_s));
        // What was sent ahead of replies may be to blame, once.
        while (waitFor([this, &peer] { return hasEnded() || peer.isCalled(); }) && !hasEnded()) {
            auto control = peer.accept();
            say(*control, replies.first(said));
            control->close();
        }

        EXPECT_EQ(waitForEnd(), State::Lost);
    }
}

TEST_F(ConnectionTestTest, WhereNobodyListensNothingIsReached)
{
    const QString location = m_peer.location(u"/in"_s);
    m_peer.stopListening();

    testAt(location);

    EXPECT_EQ(waitForEnd(), State::Unreachable);
    EXPECT_TRUE(m_last.reply.isNull());
}

TEST_F(ConnectionTestTest, AHostThatNobodyKnowsIsNoSuchHost)
{
    testAt(u"ftp://no-such-host.invalid/in"_s);

    EXPECT_EQ(waitForEnd(), State::NoSuchHost);
    EXPECT_TRUE(m_last.reply.isNull());
}

TEST_F(ConnectionTestTest, AMissingFolderIsMadeLevelByLevelEachOnceTheOneBeforeHasLetUsIn)
{
    auto control = createFolder(u"/~a//b c/d/"_s);
    converse(*control,
             { { "MKD ./~a", "257 Made" },
               { "CWD ./~a", "250 There" },
               { "MKD b c", "257 Made" },
               { "CWD b c", "250 There" },
               { "MKD d", "257 Made" },
               { "CWD d", "250 There" } });

    EXPECT_EQ(waitForEnd(), State::Works);

    EXPECT_THAT(m_states, testing::ElementsAre(State::LoggingIn, State::CreatingFolder, State::Works));
    EXPECT_EQ(control->hear(), "QUIT");
    EXPECT_EQ(m_pool.idleCount(), 0);
}

TEST_F(ConnectionTestTest, AnAbsoluteFolderIsMadeFromTheRoot)
{
    auto control = createFolder(u"//srv/in"_s);
    converse(*control,
             { { "MKD /srv", "550 Is there" },
               { "CWD /srv", "250 There" },
               { "MKD in", "257 Made" },
               { "CWD in", "250 There" } });

    EXPECT_EQ(waitForEnd(), State::Works);
}

TEST_F(ConnectionTestTest, ALevelThatIsNotMadeIsThereExactlyWhenItLetsUsIn)
{
    auto control = createFolder(u"/a/b/c"_s);
    converse(*control,
             { { "MKD a", "550 File exists" },
               { "CWD a", "250 There" },
               { "MKD b", "521 File exists" },
               { "CWD b", "550 Not a folder" } });

    EXPECT_EQ(waitForEnd(), State::FolderNotCreated);
    EXPECT_EQ(m_last.reply, u"521 File exists"_s);
    EXPECT_EQ(control->hear(), "QUIT");
}

TEST_F(ConnectionTestTest, ALevelThatWasMadeAndLetsNobodyInIsNotThere)
{
    auto control = createFolder(u"/a"_s);
    converse(*control, { { "MKD a", "257 Made" }, { "CWD a", "550 Keep out" } });

    EXPECT_EQ(waitForEnd(), State::FolderNotCreated);
    EXPECT_EQ(m_last.reply, u"550 Keep out"_s);
}

TEST_F(ConnectionTestTest, WhereFilesGoIntoTheLoginFolderThereIsNothingToMake)
{
    auto control = createFolder(u"/"_s);

    EXPECT_EQ(waitForEnd(), State::Works);
    EXPECT_EQ(control->hear(), "QUIT");
}

TEST_F(ConnectionTestTest, AServerThatFallsSilentOrLeavesWhileAFolderIsMadeEndsTheTest)
{
    m_timeouts.reply = 150ms;
    for (const bool leaves : { false, true }) {
        auto control = createFolder(u"/a"_s);
        EXPECT_EQ(control->hear(), "MKD a");
        control->say("150 Wait");
        if (leaves) {
            control->close();
        }

        EXPECT_EQ(waitForEnd(), leaves ? State::Lost : State::NoAnswer);
        control->close();
        ASSERT_TRUE(waitFor([this] { return m_pool.connectionCount() == 0; }));
    }
}

TEST_F(ConnectionTestTest, StoppedWhileAFolderIsMadeItMakesNoFurtherLevel)
{
    auto control = createFolder(u"/a/b"_s);
    EXPECT_EQ(control->hear(), "MKD a");

    m_connectionTest.reset();
    control->say("257 Made");

    EXPECT_EQ(control->hear(), "QUIT");
    EXPECT_TRUE(control->isSilent());
}

TEST_F(ConnectionTestTest, WhatCannotBeSentIsNotSent)
{
    testAt(u"http://host/"_s);
    EXPECT_EQ(waitForEnd(), State::NotSendable);

    test(u"/in"_s, u"se\ncret"_s);
    EXPECT_EQ(waitForEnd(), State::NotSendable);
    EXPECT_TRUE(m_peer.isLeftAlone());
}

TEST_F(ConnectionTestTest, WithoutNameAndPasswordTheLoginIsAnonymous)
{
    test(u"/"_s, u""_s);

    hearProbe({ "USER anonymous", "PASS anonymous@", "PWD", "TYPE I" });
    m_connectionTest.reset();
}

TEST_F(ConnectionTestTest, StoppedAtAnyStageItEndsTheConnectionAndReportsNothing)
{
    const QByteArrayList replies{ "220 Ready", "331 Password", "230 In", "257 \"/\"", "250 There" };
    for (qsizetype said = 0; said <= replies.size(); ++said) {
        SCOPED_TRACE(said);
        test();
        auto control = accept();
        answer(*control, replies.first(said));
        drainEventLoop();
        m_states.clear();

        m_connectionTest.reset();
        control->say("200 Fine");

        const QByteArray rest = control->receiveToEnd();
        EXPECT_FALSE(rest.contains("STOR") || rest.contains("EPSV"));
        drainEventLoop();
        EXPECT_TRUE(m_states.empty());
    }
}

TEST_F(ConnectionTestTest, WhoeverHearsAReportMayStopIt)
{
    const QByteArrayList replies{ "220 Ready", "331 Password", "230 In", "257 \"/\"", "250 There", "200 Fine" };
    const QList<std::pair<State, qsizetype>> states{ { State::LoggingIn, 1 },
                                                     { State::OpeningFolder, 3 },
                                                     { State::Works, 6 } };
    for (const auto& [state, said] : states) {
        m_stopsAt = state;
        test();
        auto control = accept();
        answer(*control, replies.first(said));

        EXPECT_TRUE(waitFor([this] { return m_connectionTest == nullptr; }));

        drainEventLoop();
        EXPECT_EQ(m_states.back(), state);
    }
}

TEST_F(ConnectionTestTest, EncryptedItSaysNothingBeforeTheHandshake)
{
    m_judge.verdict = true;
    m_encryption = FTPEncryption::Required;
    test();
    auto control = greet();
    EXPECT_EQ(control->hear(7),
              (QByteArrayList{ "PBSZ 0", "PROT P", "USER anna", "PASS secret", "PWD", "CWD in", "TYPE I" }));
    say(*control, { "200 0", "200 P", "331 Password", "230 In", "257 \"/\"", "250 There", "200 Fine" });

    EXPECT_EQ(waitForEnd(), State::Works);

    ASSERT_TRUE(m_last.security);
    EXPECT_TRUE(m_last.security->protocol.startsWith(u"TLSv1."_s));
    EXPECT_FALSE(m_last.security->isTrustedBySystem);
}

TEST_F(ConnectionTestTest, ACertificateThatIsNotTrustedGetsNoLogin)
{
    m_judge.verdict = false;
    m_encryption = FTPEncryption::Required;
    test();
    auto control = greet();

    EXPECT_EQ(waitForEnd(), State::NotTrusted);
    EXPECT_EQ(control->receiveToEnd(), "");
    EXPECT_EQ(m_judge.questions.size(), 1U);
    EXPECT_FALSE(m_last.security);
}

TEST_F(ConnectionTestTest, TheQuestionHasNoTimeLimitAndMayBeLeft)
{
    m_timeouts.reply = 1s;
    m_encryption = FTPEncryption::Required;
    test();
    auto control = greet();
    ASSERT_TRUE(waitFor([this] { return m_judge.questions.size() == 1; }));
    EXPECT_FALSE(waitFor([this] { return hasEnded(); }, 1300ms));

    m_connectionTest.reset();

    EXPECT_EQ(control->receiveToEnd(), "");
}

TEST_F(ConnectionTestTest, AServerThatDoesNotEncryptGetsNoLogin)
{
    m_encryption = FTPEncryption::Required;
    for (const char* reply : { "500 What?", "534 No", "230 In" }) {
        SCOPED_TRACE(reply);
        test();
        auto control = accept();
        answer(*control, { "220 Ready", reply });

        EXPECT_EQ(waitForEnd(), State::NotEncrypted);
        EXPECT_EQ(m_last.reply, QString::fromLatin1(reply));
        EXPECT_EQ(control->receiveToEnd(), "");
    }
}

TEST_F(ConnectionTestTest, AServerThatDoesNotPipelineIsAskedWithoutPipelining)
{
    test();
    auto first = accept();
    answer(*first, { "220 Ready", "331 Password", "503 Not in this order" });
    auto control = greet();
    const QList<std::pair<QByteArray, QByteArray>> turns{ { "USER anna", "331 Password" },
                                                          { "PASS secret", "230 In" },
                                                          { "PWD", "257 \"/\"" },
                                                          { "CWD in", "250 There" },
                                                          { "TYPE I", "200 Fine" } };
    for (const auto& [command, reply] : turns) {
        EXPECT_EQ(control->hear(), command);
        control->say(reply);
    }

    EXPECT_EQ(waitForEnd(), State::Works);
}

} // namespace
