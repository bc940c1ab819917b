#include "DeadPort.h"
#include "EngineConnections.h"
#include "StreamTest.h"

#include <QCoreApplication>

namespace {

/// Begins with a first upload done, its control connection kept.
class KeptConnectionTest : public EachEncryptionTest {
protected:
    void SetUp() override { m_control = upload(u"first"_s, "1"); }

    void startSecond() { startUpload(u"/second"_s, "2"); }

    void finishUpload(PeerConnection& control)
    {
        EXPECT_EQ(m_data->receiveToEnd(), "2");
        control.say("150 Go");
        control.say("226 Got it");
        EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"space"_s, u"end"_s }));
    }
    /// Serves a second upload on a connection of its own.
    void expectUploadOnFreshConnection()
    {
        auto control = open("STOR second");
        finishUpload(*control);
        EXPECT_EQ(m_peer.connectionCount(), 2);
    }
    /// What is heard before a file goes into another folder, before the first reply.
    QByteArrayList commandsToEnter(const QByteArray& folder)
    {
        return !traits().pipelines ? QByteArrayList{ "CWD " + folder }
                                   : QByteArrayList{ "CWD " + folder, "TYPE I", "EPSV" };
    }
    /// Starts an upload, and hears that a folder is entered for it.
    void expectToEnter(const QByteArray& folder, const QString& path)
    {
        startUpload(path, "2");
        const QByteArrayList expected = commandsToEnter(folder);
        EXPECT_EQ(m_control->hear(static_cast<int>(expected.size())), expected);
    }
    /// Answers what expectToEnter() heard, with @p reply to the folder.
    void answerEntering(const QByteArray& reply)
    {
        m_control->say(reply);
        if (traits().pipelines) {
            m_control->say("200 Fine");
            m_control->say(extendedPassive());
        }
        ASSERT_TRUE(waitFor([this] { return m_pool.idleCount() > 0; }));
    }

    std::unique_ptr<PeerConnection> m_control;
};
RUN_IN_CLEAR_AND_ENCRYPTED(KeptConnectionTest);

TEST_P(KeptConnectionTest, EndedByTheServerItIsReplacedSilently)
{
    m_control->close();

    startSecond();

    expectUploadOnFreshConnection();
}

TEST_P(KeptConnectionTest, AListingThatStandsBackLeavesTheOnlyOneToTheUploadThatFollows)
{
    StreamRecorder listing;
    auto stream = m_factory.createListingStream(m_peer.location(u"/"_s));
    stream->setStandsBack(true);
    start(std::move(stream), listing);
    startSecond();

    reopen(*m_control, "STOR second");
    finishUpload(*m_control);

    EXPECT_NE(logIn({ "TYPE I", "EPSV" }), nullptr); // The listing.
}

TEST_P(KeptConnectionTest, OfTwoAListingThatStandsBackTakesOne)
{
    StreamRecorder first;
    startUpload(first, u"/other"_s, "2");
    startSecond();
    reopen(*m_control, "STOR other");
    EXPECT_EQ(m_data->receiveToEnd(), "2");
    auto other = open("STOR second");
    EXPECT_EQ(m_data->receiveToEnd(), "2");
    other->say("226 Got it");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    m_control->say("226 Got it");
    EXPECT_EQ(first.waitForEnd().last(), u"end"_s);

    StreamRecorder listing;
    auto stream = m_factory.createListingStream(m_peer.location(u"/"_s));
    stream->setStandsBack(true);
    start(std::move(stream), listing);
    reopen(*other, "LIST");

    EXPECT_EQ(m_peer.connectionCount(), 2);
}

TEST_P(KeptConnectionTest, EndedWith421ItIsReplacedSilently)
{
    m_control->say("421 Idle for too long");
    m_control->close();
    drainEventLoop();

    startSecond();

    expectUploadOnFreshConnection();
}

TEST_P(KeptConnectionTest, AnsweredWith421ItIsReplacedSilently)
{
    startSecond();
    EXPECT_EQ(m_control->hear(), "EPSV");
    m_control->say("421 Idle for too long");

    expectUploadOnFreshConnection();
}

TEST_P(KeptConnectionTest, DroppedAtTheNextCommandItIsReplacedSilently)
{
    startSecond();
    EXPECT_EQ(m_control->hear(), "EPSV");
    m_control->reset();

    expectUploadOnFreshConnection();
}

TEST_P(KeptConnectionTest, SilentAtTheNextCommandItIsReplaced)
{
    m_timeouts.reply = 50ms;
    startSecond();
    QCoreApplication::sendPostedEvents(); // The wait begins.
    m_timeouts.reply = 1h;
    EXPECT_EQ(m_control->hear(), "EPSV");

    expectUploadOnFreshConnection();
}

TEST_P(KeptConnectionTest, ItIsNotReplacedOnceAReplyWasSeen)
{
    startSecond();
    m_control->hear();
    m_control->say(extendedPassive());
    m_control->hear();
    m_control->reset();

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"other"_s);
    EXPECT_TRUE(m_peer.isLeftAlone());
}

TEST_P(KeptConnectionTest, ItIsReplacedOnlyOnce)
{
    startSecond();
    m_control->reset();
    accept()->reset();

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_TRUE(m_peer.isLeftAlone());
}

TEST_P(KeptConnectionTest, LostInTheMidstOfASetUpItIsNoReasonToStopPipelining)
{
    startUpload(u"/sub/second"_s, "2");
    EXPECT_EQ(m_control->hear(3).last(), "EPSV");
    m_control->say("250 There");
    m_control->close();

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_TRUE(m_peer.isLeftAlone());
}

TEST_P(KeptConnectionTest, SilentInTheMidstOfASetUpItIsNoReasonToStopPipelining)
{
    m_timeouts.reply = 100ms;
    startUpload(u"/sub/second"_s, "2");
    QCoreApplication::sendPostedEvents(); // The wait begins.
    EXPECT_EQ(m_control->hear(3).last(), "EPSV");
    m_control->say("250 There");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"silent"_s });
    EXPECT_TRUE(m_peer.isLeftAlone());
}

TEST_P(KeptConnectionTest, ConfusedInTheMidstOfASetUpItIsNoReasonToStopPipelining)
{
    startUpload(u"/sub/second"_s, "2");
    EXPECT_EQ(m_control->hear(3).last(), "EPSV");
    m_control->say("500 What");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 500"_s });
    EXPECT_TRUE(m_peer.isLeftAlone());
}

TEST_P(KeptConnectionTest, AnUnaskedReplyMakesItUnfitForUse)
{
    m_control->say("200 By the way");
    EXPECT_NE(m_control->waitForEnd(), End::None);

    startSecond();

    expectUploadOnFreshConnection();
}

TEST_P(KeptConnectionTest, ASecondConfirmationInPlaceOfAPortCostsTheConnectionAndConfirmsNothing)
{
    for (const QByteArray& command : { QByteArray("EPSV"), QByteArray("PASV") }) {
        for (const QByteArray& confirmation : { QByteArray("226 Got it"), QByteArray("250 Got it") }) {
            SCOPED_TRACE((command + ": " + confirmation).toStdString());
            traits().passiveOnly = command == "PASV";
            startSecond();
            EXPECT_EQ(m_control->hear(), command);
            m_control->say(confirmation);

            auto control = logIn({ "TYPE I", command });
            control->say("200 Fine");
            control->say(traits().passiveOnly ? passive() : extendedPassive());
            acceptData();
            EXPECT_EQ(control->hear(), "STOR second");
            finishUpload(*control);
            EXPECT_NE(m_control->waitForEnd(), End::None);
            m_control = std::move(control);
        }
    }
}

TEST_P(KeptConnectionTest, ASecondConfirmationInPlaceOfAFolderCostsTheConnectionAndEntersNothing)
{
    expectToEnter("/home/sub", u"/sub/second"_s);
    m_control->say("226 Got it");

    auto control = open("STOR second", { "CWD sub", "TYPE I", "EPSV" });
    finishUpload(*control);
}

TEST_P(KeptConnectionTest, AnAnswerThatFitsNoTypeCostsTheConnection)
{
    expectToEnter("/home/sub", u"/sub/second"_s);
    m_control->say("250 There");
    m_control->say("250 There");

    auto control = open("STOR second", { "CWD sub", "TYPE I", "EPSV" });
    finishUpload(*control);
}

TEST_P(KeptConnectionTest, AnAnswerThatFitsNoPortIsNotTakenForOneAgainAndAgain)
{
    startSecond();
    EXPECT_EQ(m_control->hear(), "EPSV");
    m_control->say("226 Got it");
    auto control = logIn({ "TYPE I", "EPSV" });
    control->say("200 Fine");
    control->say("226 Got it");

    EXPECT_EQ(control->hear(), "PASV"); // On a connection of its own it is an odd answer to EPSV.
    control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_TRUE(m_peer.isLeftAlone());
}

TEST_P(KeptConnectionTest, ALateConfirmationDoesNotConfirmTheNextFileOfAServerThatAnnouncesTransfers)
{
    startSecond();
    reopen(*m_control, "STOR second");
    finishUpload(*m_control); // With a 150.
    startUpload(u"/third"_s, "3");
    reopen(*m_control, "STOR third");
    EXPECT_EQ(m_data->receiveToEnd(), "3");

    m_control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"other"_s);
    EXPECT_NE(m_control->waitForEnd(), End::None);
}

TEST_P(KeptConnectionTest, WhatIsSaidToTheNextFileIsBelievedWhereTransfersAreNotAnnounced)
{
    startSecond();
    reopen(*m_control, "STOR second");
    EXPECT_EQ(m_data->receiveToEnd(), "2");

    m_control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_P(KeptConnectionTest, ALateConfirmationIsNoReasonToStoreAgain)
{
    const DeadPort silent(DeadPort::Kind::Full);
    startSecond();
    reopen(*m_control, "STOR second");
    finishUpload(*m_control); // With a 150.
    startUpload(u"/third"_s, "3");
    EXPECT_EQ(m_control->hear(), "EPSV");
    m_control->say(extendedPassive(silent.port()));
    EXPECT_EQ(m_control->hear(), "STOR third");

    m_control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_TRUE(m_peer.isLeftAlone()); // The server may yet act on the first.
}

TEST_P(KeptConnectionTest, ALateConfirmationEndsNoListingAndNoDownloadOfAServerThatAnnouncesThem)
{
    for (const bool isListing : { true, false }) {
        SCOPED_TRACE(isListing);
        const auto start = [this, isListing] { isListing ? startListing(u"/"_s) : startDownload(u"/f"_s); };
        const QByteArray command = isListing ? "LIST" : "RETR f";
        const auto serve = [this](PeerConnection& control) {
            control.say("150 Comes");
            m_data->sendBytes("hello");
            m_data->close();
            control.say("226 Done");
            EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"end"_s }));
            EXPECT_EQ(m_recorder.data, "hello");
        };
        const auto reopenForReading = [this, isListing, &command](PeerConnection& control) {
            if (!isListing) {
                EXPECT_EQ(control.hear(), "SIZE f");
                control.say("502 No SIZE");
            }
            reopen(control, command);
        };
        start();
        reopenForReading(*m_control);
        serve(*m_control);

        start();
        reopenForReading(*m_control);
        m_control->say("226 Got it");
        auto control = open(
            command, isListing ? QByteArrayList{ "TYPE I", "EPSV" } : QByteArrayList{ "TYPE I", "SIZE f", "EPSV" });
        serve(*control);
        EXPECT_NE(m_control->waitForEnd(), End::None);
        m_control = std::move(control);
    }
}

TEST_P(KeptConnectionTest, AnEmptyListingThatIsNotAnnouncedIsBelievedOnAConnectionOfItsOwn)
{
    startListing(u"/"_s);
    reopen(*m_control, "LIST");
    m_control->say("150 Comes");
    m_data->close();
    m_control->say("226 Done");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);

    startListing(u"/"_s);
    reopen(*m_control, "LIST");
    m_control->say("226 Nothing there");
    auto control = open("LIST");
    m_data->close();
    control->say("226 Nothing there");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"end"_s }));
}

TEST_P(KeptConnectionTest, ThatAServerAnnouncesListingsSaysNothingOfUploads)
{
    startListing(u"/"_s);
    reopen(*m_control, "LIST");
    m_control->say("150 Comes");
    m_data->close();
    m_control->say("226 Done");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    startSecond();
    reopen(*m_control, "STOR second");
    EXPECT_EQ(m_data->receiveToEnd(), "2");

    m_control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_P(KeptConnectionTest, AnotherLoginHasItsOwn)
{
    startUpload(m_recorder, u"/second"_s, "2", u"ben"_s);

    EXPECT_NE(open("STOR second", { "TYPE I", "EPSV" }, "ben"), nullptr);
    EXPECT_TRUE(m_control->isSilent());
}

TEST_P(KeptConnectionTest, AnotherPasswordHasItsOwn)
{
    auto stream = m_factory.createUploadStream(m_peer.location(u"/second"_s), 1);
    EXPECT_TRUE(stream->setEncryption(GetParam()));
    stream->setTrustedCertificates(m_trusted);
    m_recorder.start(std::move(stream), u"anna"_s, u"other"_s);

    auto control = greet();
    EXPECT_TRUE(control->hear(static_cast<int>(login().size())).contains("PASS other"));
    EXPECT_TRUE(m_control->isSilent());
}

TEST_P(KeptConnectionTest, WithoutAKnownLoginFolderAnotherFolderTakesAFreshOne)
{
    m_control->close();
    startUpload(u"/first"_s, "1");
    m_control = greet();
    QByteArrayList replies;
    for (const auto& [command, reply] : login()) {
        replies.append(command == "PWD" ? "502 No PWD" : reply);
    }
    m_control->answer(replies + QByteArrayList{ "200 Fine" });
    reopen(*m_control, "STOR first");
    EXPECT_EQ(m_data->receiveToEnd(), "1");
    m_control->say("226 Got it");
    m_recorder.waitForEnd();

    startUpload(u"/sub/second"_s, "2");

    auto fresh = open("STOR second", { "CWD sub", "TYPE I", "EPSV" });
    finishUpload(*fresh);
}

TEST_P(KeptConnectionTest, WhereAFolderChangeHasLedThatNobodySawIsNotAssumed)
{
    for (const bool pipelines : { true, false }) {
        SCOPED_TRACE(pipelines);
        traits().pipelines = pipelines;
        expectToEnter("/home/sub", u"/sub/second"_s);
        m_recorder.close();
        answerEntering("250 There");

        expectToEnter("/home", u"/third"_s); // Where the connection was before.

        m_recorder.close();
        answerEntering("250 There");
        m_control->close();
        ASSERT_TRUE(waitFor([this] { return m_pool.connectionCount() == 0; }));
        traits().pipelines = true;
        m_control = upload(u"first"_s, "1");
    }
}

TEST_P(KeptConnectionTest, AFolderThatWasRefusedIsNotAssumedNorTheOneBefore)
{
    for (const bool pipelines : { true, false }) {
        for (const bool isSeen : { false, true }) {
            for (const auto& [folder, path] :
                 { std::pair{ "/home/sub", u"/sub/third"_s }, std::pair{ "/home", u"/third"_s } }) {
                SCOPED_TRACE(pipelines);
                SCOPED_TRACE(isSeen);
                SCOPED_TRACE(folder);
                traits().pipelines = pipelines;
                expectToEnter("/home/sub", u"/sub/second"_s);
                if (!isSeen) {
                    m_recorder.close();
                }
                answerEntering("550 No such folder");
                if (isSeen) {
                    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 550"_s });
                }

                expectToEnter(folder, path);

                m_recorder.close();
                m_control->close();
                ASSERT_TRUE(waitFor([this] { return m_pool.connectionCount() == 0; }));
                traits().pipelines = true;
                m_control = upload(u"first"_s, "1");
            }
        }
    }
}

TEST_P(KeptConnectionTest, UnusedItEndsWithAQuit)
{
    m_timeouts.idle = 50ms;
    startSecond();
    reopen(*m_control, "STOR second");
    finishUpload(*m_control);

    EXPECT_EQ(m_control->hear(), "QUIT");
    EXPECT_TRUE(m_control->isSilent());
}

TEST_P(KeptConnectionTest, InUseItIsNotUnused)
{
    m_timeouts.idle = 100ms;
    bool isAgain = false;
    m_recorder.onEvent = [this, &isAgain](const QString& event) {
        if (event == u"end"_s && !std::exchange(isAgain, true)) {
            startUpload(u"/third"_s, "2"); // At once.
        }
    };
    startSecond();
    reopen(*m_control, "STOR second");
    m_data->receiveToEnd();
    m_control->say("226 Got it");
    reopen(*m_control, "STOR third");

    EXPECT_FALSE(waitFor([this] { return m_recorder.log().endsWith(u"other"_s); }, 250ms));

    finishUpload(*m_control);
}

TEST_P(KeptConnectionTest, ItCanBeClosedAheadOfACallToTheSameServer)
{
    EngineConnections(m_engine).closeIdleConnections(u"ftp://elsewhere:%1/"_s.arg(m_peer.port()));
    EngineConnections(m_engine).closeIdleConnections(u"ftp://127.0.0.1:%1/"_s.arg(m_dataPeer.port()));
    EXPECT_EQ(m_pool.idleCount(), 1);

    EngineConnections(m_engine).closeIdleConnections(m_peer.location(u"/any"_s));

    EXPECT_EQ(m_pool.idleCount(), 0);
    EXPECT_EQ(m_control->hear(), "QUIT");
    m_control->say("221 Bye");
    m_control->finish();
    EXPECT_NE(m_control->waitForEnd(), End::None);
}

TEST_P(KeptConnectionTest, InUseItIsNotClosedAheadOfACallToTheSameServer)
{
    startSecond();
    reopen(*m_control, "STOR second");

    EngineConnections(m_engine).closeIdleConnections(m_peer.location(u"/any"_s));

    finishUpload(*m_control);
    EXPECT_TRUE(m_control->isSilent());
}

TEST_P(KeptConnectionTest, ItServesAgainOnlyWhenWhatWasGivenUpHasBeenAnswered)
{
    startUpload(u"/second"_s, QByteArray(tooMuch, 'x'));
    reopen(*m_control, "STOR second");
    m_control->say("150 Go");
    ASSERT_TRUE(m_recorder.waitFor(u"space"_s));
    m_recorder.close();

    startUpload(u"/third"_s, "2");
    auto other = open("STOR third");
    EXPECT_TRUE(m_control->isSilent());
    finishUpload(*other);
    m_control->say("426 Interrupted");
    ASSERT_TRUE(waitFor([this] { return m_pool.idleCount() == 2; }));

    startUpload(u"/fourth"_s, "2");
    reopen(*m_control, "STOR fourth");
    finishUpload(*m_control);
}

TEST_P(KeptConnectionTest, ItServesNoMoreWhenWhatWasGivenUpIsAnsweredWith421)
{
    m_timeouts.idle = 1h;
    startUpload(u"/second"_s, QByteArray(tooMuch, 'x'));
    reopen(*m_control, "STOR second");
    m_control->say("150 Go");
    ASSERT_TRUE(m_recorder.waitFor(u"space"_s));
    m_recorder.close();

    m_control->say("421 Closing");

    EXPECT_NE(m_control->waitForEnd(), End::None);
}

/// A second transfer, started while the first one keeps the only login that the server allows.
class OnlyOneLoginTest : public KeptConnectionTest {
protected:
    void startBoth()
    {
        startSecond();
        reopen(*m_control, "STOR second");
        EXPECT_EQ(m_data->receiveToEnd(), "2");
        startRefused(m_other);
    }
    /// Starts another upload, which is told to wait.
    void startRefused(StreamRecorder& recorder)
    {
        startUpload(recorder, u"/third"_s, "2");
        const auto refused = accept();
        refused->say("421 Only one");
        ASSERT_NE(refused->waitForEnd(), End::None);
        EXPECT_TRUE(recorder.log().isEmpty());
    }

    StreamRecorder m_other;
    StreamRecorder m_third;
};
RUN_IN_CLEAR_AND_ENCRYPTED(OnlyOneLoginTest);

TEST_P(OnlyOneLoginTest, TheFreedConnectionIsReused)
{
    startBoth();

    m_control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    reopen(*m_control, "STOR third");
    EXPECT_EQ(m_data->receiveToEnd(), "2");
    m_control->say("226 Got it");
    EXPECT_EQ(m_other.waitForEnd().last(), u"end"_s);
}

TEST_P(OnlyOneLoginTest, IsKnownFromTheRefusalOnUntilAnotherLoginWasAllowed)
{
    const EngineConnections connections(m_engine);
    const QString server = m_peer.location(u"/"_s);
    EXPECT_TRUE(connections.allowsFurtherLogins(server));
    startBoth();
    EXPECT_FALSE(connections.allowsFurtherLogins(server));

    startUpload(m_third, u"/fourth"_s, "2");
    const auto allowed = logIn({ "TYPE I", "EPSV" });

    EXPECT_TRUE(waitFor([&] { return connections.allowsFurtherLogins(server); }));
}

TEST_P(OnlyOneLoginTest, HoweverItIsRefusedAListingThatStoodBackTakesTheKeptOne)
{
    auto stream = m_factory.createListingStream(m_peer.location(u"/"_s));
    stream->setStandsBack(true);
    start(std::move(stream), m_other);
    auto refused = greet();
    while (!refused->hear().startsWith("USER")) {
        refused->say("200 Fine");
    }

    refused->say("530 Nobody else");
    refused->close();

    reopen(*m_control, "LIST");
    EXPECT_TRUE(m_other.log().isEmpty());
    EXPECT_FALSE(EngineConnections(m_engine).allowsFurtherLogins(m_peer.location(u"/"_s)));
}

TEST_P(OnlyOneLoginTest, WhenTheConnectionIsLostAFreshOneIsTried)
{
    startBoth();

    m_control->reset();

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"other"_s);
    EXPECT_NE(logIn({ "TYPE I", "EPSV" }), nullptr);
}

TEST_P(OnlyOneLoginTest, GivenUpWhileItWaitsItTakesNothing)
{
    startBoth();
    m_other.close();

    m_control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    EXPECT_TRUE(m_control->isSilent());
}

TEST_P(OnlyOneLoginTest, OneThatNeverGotInMakesNoRoomForOthers)
{
    startBoth();

    startRefused(m_third);

    EXPECT_TRUE(m_peer.isLeftAlone()); // Otherwise both would knock in turn for ever.
}

TEST_P(OnlyOneLoginTest, TheLastOneWakesThoseWhoWaitAlsoWhenItNeverGotIn)
{
    m_control->close();
    ASSERT_TRUE(waitFor([this] { return m_pool.connectionCount() == 0; }));
    startSecond();
    auto slow = accept();
    startRefused(m_other);

    slow->close();

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_NE(open("STOR third"), nullptr);
}

TEST_P(OnlyOneLoginTest, WithoutAnotherConnectionTheRefusalIsReported)
{
    m_control->close();
    ASSERT_TRUE(waitFor([this] { return m_pool.connectionCount() == 0; }));
    startSecond();

    accept()->say("421 Too many");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 421"_s });
}

TEST_P(OnlyOneLoginTest, WhoeverIsGoneDoesNotKeepTheNextWaiting)
{
    startBoth();
    startRefused(m_third);
    m_other.close();

    m_control->reset();

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"other"_s);
    EXPECT_NE(open("STOR third"), nullptr);
}

TEST_P(OnlyOneLoginTest, WhoeverGoesAtTheEndOfTheHolderDoesNotKeepTheNextWaiting)
{
    startBoth();
    startRefused(m_third);
    m_recorder.onEvent = [this](const QString& told) {
        if (told == u"end"_s) {
            m_other.close();
        }
    };

    m_control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    reopen(*m_control, "STOR third");
}

} // namespace
