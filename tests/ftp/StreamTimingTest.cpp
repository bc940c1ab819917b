#include "OpenDescriptors.h"
#include "StreamTest.h"

#include <QElapsedTimer>

namespace {

class StreamTimingTest : public StreamTest {
protected:
    /// Does @p step again and again until @p limit has gone by several times, and answers whether no stream has failed
    /// meanwhile.
    bool goOnBeyond(std::chrono::milliseconds limit, const std::function<void()>& step)
    {
        QElapsedTimer sinceStep;
        sinceStep.start();
        return !waitFor(
            [&] {
                if (std::chrono::milliseconds(sinceStep.elapsed()) > limit / 8) {
                    step();
                    sinceStep.start();
                }
                return m_recorder.log().endsWith(u"silent"_s);
            },
            3 * limit);
    }
};

TEST_F(StreamTimingTest, ASlowLineKeepsAnUploadAliveWhileTheServerTakesIn)
{
    m_timeouts.stalledData = 400ms;
    m_dataPeer.limitReceiveBuffer(32'768);
    startUpload(u"/f"_s, QByteArray(tooMuch, 'x'));
    auto control = open("STOR f");
    ASSERT_TRUE(m_recorder.waitFor(u"space"_s));

    // Too little for the system to take more of us: it sends what it has taken.
    EXPECT_TRUE(goOnBeyond(m_timeouts.stalledData, [this] { m_data->receive(15'000); }));

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"silent"_s); // When nothing moves any more.
}

TEST_F(StreamTimingTest, ASlowLineKeepsAWholeUploadAliveWhileTheServerTakesIn)
{
    m_timeouts.stalledData = 400ms;
    m_dataPeer.limitReceiveBuffer(32'768);
    const QByteArray data(1'000'000, 'x'); // All of which the system takes at once.
    startUpload(u"/f"_s, data);
    auto control = open("STOR f");
    QByteArray got;

    EXPECT_TRUE(goOnBeyond(m_timeouts.stalledData, [this, &got] { got += m_data->receive(30'000); }));

    got += m_data->receiveToEnd();
    EXPECT_TRUE(got == data);
    control->say("226 Got it");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_F(StreamTimingTest, DataKeepsADownloadAlive)
{
    m_timeouts.stalledData = 400ms;
    startListing(u"/"_s);
    auto control = open("LIST");
    control->say("150 Comes");

    EXPECT_TRUE(goOnBeyond(m_timeouts.stalledData, [this] { m_data->sendBytes("line\r\n"); }));

    m_data->close();
    control->say("226 Done");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_F(StreamTimingTest, AListingThatTricklesEndsWithItsSecondMinute)
{
    m_timeouts.slowListing = 400ms;
    startListing(u"/"_s);
    auto control = open("LIST");
    control->say("150 Comes");
    QElapsedTimer sinceAnnouncement;
    sinceAnnouncement.start();

    EXPECT_FALSE(goOnBeyond(m_timeouts.slowListing, [this] { m_data->sendBytes("line\r\n"); }));

    EXPECT_GE(sinceAnnouncement.elapsed(), 790); // In its first it may think.
}

TEST_F(StreamTimingTest, AListingGoesOnThatBringsAKibibyteAMinuteFromItsSecondOn)
{
    m_timeouts.slowListing = 400ms;
    startListing(u"/"_s);
    auto control = open("LIST");
    control->say("150 Comes");
    EXPECT_FALSE(waitFor([this] { return m_recorder.log().endsWith(u"silent"_s); }, m_timeouts.slowListing * 3 / 4));

    EXPECT_TRUE(goOnBeyond(m_timeouts.slowListing, [this] { m_data->sendBytes(QByteArray(1024, 'x')); }));

    m_data->close();
    control->say("226 Done");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_F(StreamTimingTest, AKibibyteAMinuteIsEnoughForAListingAndAByteLessIsNot)
{
    for (const qsizetype size : { 1023, 1024 }) {
        SCOPED_TRACE(size);
        m_timeouts.slowListing = 20ms;
        startListing(u"/"_s);
        auto control = open("LIST");
        control->say("150 Comes");
        ASSERT_TRUE(m_recorder.waitFor(u"open"_s));
        m_timeouts.slowListing = 1s; // The second minute, which begins when the first is over.
        EXPECT_FALSE(waitFor([this] { return m_recorder.log().endsWith(u"silent"_s); }, 100ms));

        m_data->sendBytes(QByteArray(size, 'x'));

        const bool isEnded = waitFor([this] { return m_recorder.log().endsWith(u"silent"_s); }, 1500ms);
        EXPECT_EQ(m_recorder.data.size(), size);
        EXPECT_EQ(isEnded, size < 1024);
        m_recorder.close();
        control->close();
        EXPECT_TRUE(waitFor([this] { return m_pool.connectionCount() == 0; }));
    }
}

TEST_F(StreamTimingTest, ADownloadMayTrickle)
{
    m_timeouts.slowListing = 100ms;
    startDownload(u"/f"_s);
    auto control = open("RETR f", { "TYPE I", "SIZE f", "EPSV" });
    control->say("150 Comes");

    EXPECT_TRUE(goOnBeyond(400ms, [this] { m_data->sendBytes("x"); }));
}

TEST_F(StreamTimingTest, PreliminaryRepliesDoNotProlongTheSetUp)
{
    m_timeouts.reply = 400ms;
    startUpload(u"/f"_s, "x");
    auto control = accept();

    EXPECT_FALSE(goOnBeyond(m_timeouts.reply, [&control] { control->say("120 Soon"); }));
}

TEST_F(StreamTimingTest, TheLimitOfASetUpHoldsForGreetingEncryptionAndLoginTogether)
{
    m_timeouts.reply = 1s;
    m_encryption = FTPEncryption::Required;
    traits().pipelines = false; // It is not tried again.
    startUpload(u"/f"_s, "x");
    auto control = accept();
    m_timeouts.reply = 1h; // For whatever were to begin a wait of its own.
    control->say("220 Ready");
    control->answer({ "234 Go on" });
    EXPECT_TRUE(control->startTls(m_tls));
    EXPECT_EQ(control->hear(), "PBSZ 0");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"silent"_s });
}

TEST_F(StreamTimingTest, PreliminaryRepliesDoNotProlongTheWaitForTheConfirmation)
{
    m_timeouts.confirmation = 400ms;
    startUpload(u"/f"_s, "x");
    auto control = open("STOR f");
    m_data->receiveToEnd();

    EXPECT_FALSE(goOnBeyond(m_timeouts.confirmation, [&control] { control->say("150 Still looking for viruses"); }));
}

/// What may be answered with preliminary replies.
class PreliminaryReplyTest : public StreamTest {
protected:
    static constexpr int limit = 100;

    void expectEnd(PeerConnection& control, const QByteArray& reply)
    {
        for (int i = 0; i < limit; ++i) {
            control.say(reply);
        }
        EXPECT_FALSE(waitFor([this] { return m_recorder.log().endsWith(u"other"_s); }, 50ms));
        control.say(reply);
        EXPECT_TRUE(m_recorder.waitForEnd().endsWith(u"other"_s));
        EXPECT_NE(control.waitForEnd(), End::None);
    }
};

TEST_F(PreliminaryReplyTest, AHundredInARowAreTakenAndNotOneMoreWhateverTheyAnswer)
{
    startUpload(u"/f"_s, "x");
    expectEnd(*accept(), "120 Soon");

    for (const QByteArrayList& answers :
         { QByteArrayList{}, QByteArrayList{ "331 P" }, QByteArrayList{ "331 P", "230 In", "257 \"/\"" } }) {
        startUpload(u"/f"_s, "x");
        auto control = greet();
        control->answer(answers);
        EXPECT_NE(control->hear(), "");
        expectEnd(*control, "120 Wait");
    }

    m_recorder.isIdle = true;
    startUpload(u"/f"_s, "x");
    expectEnd(*open("STOR f"), "150 Wait");
    m_recorder.isIdle = false;

    startUpload(u"/f"_s, "x");
    auto control = open("STOR f");
    m_data->receiveToEnd();
    expectEnd(*control, "150 Wait");

    startDownload(u"/f"_s);
    expectEnd(*open("RETR f", { "TYPE I", "SIZE f", "EPSV" }), "150 Wait");

    startCreation(u"/a"_s);
    control = logIn({ "TYPE I" });
    control->say("200 I");
    EXPECT_EQ(control->hear(), "MKD a");
    expectEnd(*control, "150 Wait");
}

TEST_F(PreliminaryReplyTest, TheyAreNotCountedWhileDataComes)
{
    startDownload(u"/f"_s);
    m_sizeReply = "213 300";
    auto control = open("RETR f", { "TYPE I", "SIZE f", "EPSV" });
    control->say("150 Comes");
    for (int i = 0; i < 300; ++i) {
        m_data->sendBytes("x");
        control->say("150 Comes");
        ASSERT_TRUE(waitFor([this, i] { return m_recorder.data.size() == i + 1; })) << i;
    }

    m_data->close();
    control->say("226 All");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_F(PreliminaryReplyTest, TheyAreNotCountedWhileDataGoes)
{
    m_recorder.blockSize = 1;
    bool mayWrite = false;
    m_recorder.onEvent = [this, &mayWrite](const QString& event) {
        m_recorder.isIdle = event == u"space"_s && !std::exchange(mayWrite, false);
    };
    startUpload(u"/f"_s, QByteArray(2 * limit + 1, 'x'));
    auto control = open("STOR f");
    for (int i = 0; i < 2 * limit; ++i) {
        mayWrite = true;
        ASSERT_EQ(m_data->receive(1), "x");
        const QByteArray reply = "150 " + QByteArray::number(i);
        control->say(reply);
        ASSERT_TRUE(waitFor([this, &reply] { return m_recorder.lastReply() == QString::fromLatin1(reply); }));
    }

    m_recorder.onEvent = nullptr;
    m_recorder.isIdle = false;
    EXPECT_EQ(m_data->receiveToEnd(), "x");
    control->say("226 All");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_F(PreliminaryReplyTest, TheyAreCountedFromTheLastFinalReply)
{
    startUpload(u"/f"_s, "x");
    auto control = accept();
    const auto sayMany = [&control](const QByteArray& reply) {
        for (int i = 0; i < limit; ++i) {
            control->say("120 Wait");
        }
        control->say(reply);
    };
    sayMany("220 Ready");
    for (const char* reply : { "331 P", "230 In", "257 \"/\"", "200 I" }) {
        EXPECT_NE(control->hear(), "");
        sayMany(reply);
    }
    reopen(*control, "STOR f");

    EXPECT_EQ(m_data->receiveToEnd(), "x");
}

TEST_F(StreamTimingTest, NothingIsReportedAndNoTimeRunsWhileTheLoopIsSuspended)
{
    DeliveryGate& gate = DeliveryGate::ofThisThread();
    m_recorder.onEvent = [&gate](const QString& event) {
        if (event == u"open"_s) {
            gate.setClosed(true);
        }
    };
    m_timeouts.stalledData = 200ms;
    startUpload(u"/f"_s, QByteArray(tooMuch, 'x'));
    auto control = open("STOR f");
    EXPECT_FALSE(waitFor([this] { return m_recorder.log() != QStringList{ u"open"_s }; }, 500ms));
    m_timeouts.stalledData = 1h;
    gate.setClosed(false);
    EXPECT_TRUE(m_recorder.waitFor(u"space"_s));

    gate.setClosed(true);
    m_recorder.onEvent = [](const QString& event) { ADD_FAILURE() << event.toStdString(); };
    control->say("552 Full");
    EXPECT_FALSE(waitFor([this] { return m_recorder.log().last() != u"space"_s; }, 100ms));
    m_recorder.onEvent = nullptr;
    gate.setClosed(false);

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"FTP 552"_s);
}

TEST_F(StreamTimingTest, AFailureThatBecomesDueWhileTheLoopIsHeldIsReportedAfterwards)
{
    DeliveryGate& gate = DeliveryGate::ofThisThread();
    gate.setClosed(true);
    m_recorder.start(m_factory.createUploadStream(u"nonsense"_s, 1));
    EXPECT_FALSE(waitFor([this] { return !m_recorder.log().isEmpty(); }, 50ms));

    gate.setClosed(false);

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"unsendable"_s });
}

TEST_F(StreamTimingTest, AConnectionLostWhileTheLoopIsHeldIsReportedAfterwards)
{
    DeliveryGate& gate = DeliveryGate::ofThisThread();
    startUpload(u"/f"_s, "x");
    auto control = open("STOR f");
    m_data->receiveToEnd();

    gate.setClosed(true);
    control->reset();
    EXPECT_FALSE(waitFor([this] { return m_recorder.log().last() == u"other"_s; }, 50ms));
    gate.setClosed(false);

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"other"_s);
}

TEST_F(StreamTimingTest, ClosedInAnyEventTheStreamReportsNothingMore)
{
    for (const QString& event : { u"open"_s, u"space"_s, u"end"_s, u"FTP 552"_s }) {
        SCOPED_TRACE(event.toStdString());
        m_recorder.onEvent = [this, &event](const QString& told) {
            if (told == event) {
                m_recorder.close();
            }
        };
        startUpload(u"/f"_s, "hello");
        auto control = open("STOR f");
        if (event == u"FTP 552"_s) {
            control->say("552 Full");
        } else if (event == u"end"_s) {
            EXPECT_EQ(m_data->receiveToEnd(), "hello");
            control->say("226 Got it");
        }

        ASSERT_TRUE(m_recorder.waitFor(event));
        drainEventLoop();
        EXPECT_EQ(m_recorder.log().last(), event);
        control->close();
        ASSERT_TRUE(waitFor([this] { return m_pool.connectionCount() == 0; }));
    }
}

TEST_F(StreamTimingTest, ANewStreamMayBeOpenedFromInsideTheLastEventOfAnother)
{
    bool restarted = false;
    m_recorder.onEvent = [this, &restarted](const QString& told) {
        if (told == u"end"_s && !std::exchange(restarted, true)) {
            startUpload(u"/g"_s, "y");
        }
    };
    startUpload(u"/f"_s, "x");
    auto control = open("STOR f");
    m_data->receiveToEnd();

    control->say("226 Got it");

    reopen(*control, "STOR g");
    EXPECT_EQ(m_data->receiveToEnd(), "y");
    control->say("226 Got it");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_F(StreamTimingTest, ADescriptorThatIsMissingForTheDataIsWaitedForBeforeAnythingIsAskedFor)
{
    startUpload(u"/f"_s, "x");
    auto control = logIn({ "TYPE I", "EPSV" });
    control->say("200 I");
    {
        const NoDescriptorLeft none;
        control->say(extendedPassive());
        EXPECT_TRUE(control->isSilent());
        EXPECT_TRUE(m_recorder.log().isEmpty());
    }

    EXPECT_EQ(control->hear(), "STOR f");
    m_data = m_dataPeer.accept();
    EXPECT_EQ(m_data->receiveToEnd(), "x");
    control->say("226 Got it");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_F(StreamTimingTest, WithoutADescriptorForTheDataTheTransferFailsWhenItsTimeIsOver)
{
    m_engine.timeouts().connect = 300ms;
    startUpload(u"/f"_s, "x");
    auto control = logIn({ "TYPE I", "EPSV" });
    control->say("200 I");
    const NoDescriptorLeft none;

    control->say(extendedPassive());

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_NE(control->waitForEnd(), End::None);
    EXPECT_EQ(control->hear(), ""); // Nothing was asked for.
}

TEST_F(StreamTimingTest, ADescriptorThatIsMissingForTheConnectionIsWaitedFor)
{
    auto none = std::make_optional<NoDescriptorLeft>();
    startUpload(u"/f"_s, "x");
    drainEventLoop();
    EXPECT_TRUE(m_recorder.log().isEmpty());

    none.reset();

    EXPECT_NE(logIn({ "TYPE I", "EPSV" }), nullptr);
}

TEST_F(StreamTimingTest, WithoutADescriptorForTheConnectionTheTransferFailsFromTheLoop)
{
    m_engine.timeouts().connect = 300ms;
    const NoDescriptorLeft none;

    startUpload(u"/f"_s, "x");

    EXPECT_TRUE(m_recorder.log().isEmpty());
    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
}

} // namespace
