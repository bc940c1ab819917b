#include "StreamTest.h"

#include <sys/resource.h>
#include <unistd.h>

namespace {

using StreamTimingTest = StreamTest;

constexpr qsizetype tooMuch = 64 << 20; ///< More bytes than all buffers on the way hold.

TEST_F(StreamTimingTest, SilenceInsteadOfAGreetingEndsTheTransfer)
{
    m_timeouts.reply = 50ms;
    startUpload(u"/f"_s, "x");

    auto control = m_peer.accept();

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_NE(control->waitForEnd(), End::None);
}

TEST_F(StreamTimingTest, SilenceInTheSetUpEndsTheTransfer)
{
    m_timeouts.reply = 50ms;
    startUpload(u"/f"_s, "x");
    auto control = m_peer.accept();
    control->say("220 Ready");
    control->hear(5);

    control->say("331 P");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
}

TEST_F(StreamTimingTest, AStalledDataConnectionEndsTheUpload)
{
    m_timeouts.stalledData = 50ms;
    startUpload(u"/f"_s, QByteArray(tooMuch, 'x'));

    auto control = open("STOR f");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"space"_s, u"other"_s }));
}

TEST_F(StreamTimingTest, AMissingConfirmationEndsTheUpload)
{
    m_timeouts.confirmation = 50ms;
    startUpload(u"/f"_s, "x");
    auto control = open("STOR f");

    m_data->receiveToEnd();

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"other"_s);
}

TEST_F(StreamTimingTest, ALateConfirmationWithinItsTimeIsASuccess)
{
    m_timeouts.reply = 150ms;
    m_timeouts.stalledData = 150ms;
    startUpload(u"/f"_s, "x");
    auto control = open("STOR f");
    m_data->receiveToEnd();
    EXPECT_FALSE(waitFor([this] { return m_recorder.log().last() != u"space"_s; }, 300ms));

    control->say("226 At last");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_F(StreamTimingTest, PreliminaryRepliesKeepASilentServersTransferAlive)
{
    m_timeouts.reply = 400ms;
    m_timeouts.confirmation = 400ms;
    const auto sayForLong = [this](PeerConnection& control, const QByteArray& reply) {
        for (int i = 0; i < 5; ++i) {
            control.say(reply);
            EXPECT_FALSE(waitFor([this] { return m_recorder.log().endsWith(u"other"_s); }, 150ms));
        }
    };
    startUpload(u"/f"_s, "x");
    auto control = m_peer.accept();

    sayForLong(*control, "120 Soon");
    for (const char* reply : { "220 Ready", "331 P", "230 In", "257 \"/\"", "200 I" }) {
        control->say(reply);
    }
    control->say(extendedPassive());
    m_data = m_dataPeer.accept();
    m_data->receiveToEnd();
    sayForLong(*control, "150 Still looking for viruses");
    control->say("226 None");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_F(StreamTimingTest, PreliminaryRepliesWithoutEndEndTheTransferWhateverTheyAnswer)
{
    const auto sayWithoutEnd = [this](PeerConnection& control, const QByteArray& reply) {
        for (int i = 0; i < 150; ++i) {
            control.say(reply);
        }
        EXPECT_TRUE(m_recorder.waitForEnd().endsWith(u"other"_s));
        EXPECT_NE(control.waitForEnd(), End::None);
    };
    startUpload(u"/f"_s, "x");
    sayWithoutEnd(*m_peer.accept(), "120 Soon");

    for (const QByteArrayList& before : { QByteArrayList{ "220 Ready" }, QByteArrayList{ "220 Ready", "331 P" },
                                          QByteArrayList{ "220 Ready", "331 P", "230 In", "257 \"/\"" } }) {
        SCOPED_TRACE(before.last().toStdString());
        startUpload(u"/f"_s, "x");
        auto control = m_peer.accept();
        for (const QByteArray& reply : before) {
            control->say(reply);
        }
        sayWithoutEnd(*control, "120 Wait");
    }

    startUpload(u"/f"_s, QByteArray(tooMuch, 'x'));
    auto control = open("STOR f");
    sayWithoutEnd(*control, "150 Wait");

    startUpload(u"/f"_s, "x");
    control = open("STOR f");
    m_data->receiveToEnd();
    sayWithoutEnd(*control, "150 Wait");

    startDownload(u"/f"_s);
    control = open("RETR f", { "TYPE I", "SIZE f", "EPSV" });
    sayWithoutEnd(*control, "150 Wait");

    startCreation(u"/a"_s);
    control = logIn({ "TYPE I" });
    control->say("200 I");
    EXPECT_EQ(control->hear(), "MKD a");
    sayWithoutEnd(*control, "150 Wait");
}

TEST_F(StreamTimingTest, PreliminaryRepliesAreNotCountedWhileDataMoves)
{
    startDownload(u"/f"_s);
    m_sizeReply = "213 1000";
    auto control = open("RETR f", { "TYPE I", "SIZE f", "EPSV" });
    control->say("150 Comes");
    for (int i = 0; i < 1000; ++i) {
        m_data->sendBytes("x");
        control->say("150 Comes");
        ASSERT_TRUE(waitFor([this, i] { return m_recorder.data.size() == i + 1; })) << i;
    }

    m_data->close();
    control->say("226 All");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_F(StreamTimingTest, AStalledDownloadEnds)
{
    m_timeouts.stalledData = 300ms;
    startDownload(u"/f"_s);
    auto control = open("RETR f", { "TYPE I", "SIZE f", "EPSV" });
    control->say("150 Comes");
    m_data->sendBytes("ab");

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"other"_s }));
}

TEST_F(StreamTimingTest, NothingIsReportedAndNoTimeRunsWhileTheLoopIsHeld)
{
    m_timeouts.reply = 300ms;
    DeliveryGate& gate = DeliveryGate::ofThisThread();
    startUpload(u"/f"_s, QByteArray(tooMuch, 'x'));
    auto control = m_peer.accept();
    control->say("220 Ready");
    control->hear(5);

    gate.setClosed(true);
    for (const char* reply : { "331 P", "230 In", "257 \"/\"", "200 I" }) {
        control->say(reply);
    }
    control->say(extendedPassive());
    EXPECT_FALSE(waitFor([this] { return !m_recorder.log().isEmpty(); }, 500ms));
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

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
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
        ScriptedPeer peer;
        m_recorder.data = "hello";
        m_recorder.start(m_factory.createUploadStream(peer.location(u"/f"_s), 5));
        auto control = peer.accept();
        for (const char* reply : { "220 Ready", "331 P", "230 In", "257 \"/\"", "200 I" }) {
            control->say(reply);
        }
        control->say(extendedPassive());
        auto data = m_dataPeer.accept();
        control->hear(6);
        control->say(event.startsWith(u"FTP") ? "552 Full" : "150 Go");
        if (!event.startsWith(u"FTP")) {
            data->receiveToEnd();
            control->say("226 Got it");
        }

        ASSERT_TRUE(m_recorder.waitFor(event));
        drainEventLoop();
        EXPECT_EQ(m_recorder.log().last(), event);
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

    EXPECT_EQ(control->hear(), "EPSV");
    control->say(extendedPassive());
    EXPECT_EQ(m_dataPeer.accept()->receiveToEnd(), "y");
    EXPECT_EQ(control->hear(), "STOR g");
    control->say("226 Got it");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

/// No further descriptor can be opened while this lives.
class NoDescriptorLeft {
public:
    NoDescriptorLeft()
    {
        ::getrlimit(RLIMIT_NOFILE, &m_before);
        const int next = ::dup(0);
        ::close(next);
        const rlimit full{ static_cast<rlim_t>(next), m_before.rlim_max };
        ::setrlimit(RLIMIT_NOFILE, &full);
    }
    NoDescriptorLeft(const NoDescriptorLeft&) = delete;
    NoDescriptorLeft& operator=(const NoDescriptorLeft&) = delete;
    ~NoDescriptorLeft() { ::setrlimit(RLIMIT_NOFILE, &m_before); }

private:
    rlimit m_before{};
};

TEST_F(StreamTimingTest, WithoutADescriptorForTheDataTheTransferFails)
{
    startUpload(u"/f"_s, "x");
    auto control = logIn({ "TYPE I", "EPSV" });
    control->say("200 I");
    const NoDescriptorLeft none;

    control->say(extendedPassive());

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
}

TEST_F(StreamTimingTest, WithoutADescriptorForTheConnectionTheTransferFailsFromTheLoop)
{
    const NoDescriptorLeft none;

    startUpload(u"/f"_s, "x");

    EXPECT_TRUE(m_recorder.log().isEmpty());
    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
}

} // namespace
