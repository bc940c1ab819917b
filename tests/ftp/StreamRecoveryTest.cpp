#include "OpenDescriptors.h"
#include "StreamTest.h"

#include <algorithm>

namespace {

/// What is left behind by one transfer must not harm the next.
class StreamRecoveryTest : public StreamTest {
protected:
    /// Whether the login of a transfer under way was seen to succeed, its folder included.
    bool loginIsDone() const
    {
        const auto connections = m_pool.findChildren<ControlConnection*>();
        return std::any_of(connections.begin(), connections.end(), [](ControlConnection* connection) {
            return connection->isInUse() && connection->session().loginFolder.has_value();
        });
    }
    void waitForKeptConnection()
    {
        ASSERT_TRUE(waitFor([this] { return m_pool.idleCount() > 0; }));
    }

    StreamRecorder m_other;
};

TEST_F(StreamRecoveryTest, ARefusedTypeIsAskedForAgain)
{
    startUpload(u"/f"_s, "a\nb");
    auto control = logIn({ "TYPE I", "EPSV" });
    control->say("451 Not now");
    control->say(extendedPassive());
    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 451"_s });
    waitForKeptConnection();

    startUpload(u"/g"_s, "a\nb");

    EXPECT_EQ(control->hear(2), (QByteArrayList{ "TYPE I", "EPSV" }));
}

TEST_F(StreamRecoveryTest, ATypeRefusedBehindAFolderIsAskedForAgain)
{
    auto control = upload(u"first"_s, "1");
    startUpload(u"/sub/f"_s, "a\nb");
    EXPECT_EQ(control->hear(3).last(), "EPSV");
    control->say("250 There");
    control->say("451 Not now");
    control->say(extendedPassive());
    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 451"_s });
    waitForKeptConnection();

    startUpload(u"/sub/g"_s, "a\nb");

    EXPECT_EQ(control->hear(2), (QByteArrayList{ "TYPE I", "EPSV" }));
}

TEST_F(StreamRecoveryTest, ATypeThatAnAbandonedTransferNeverSawAcceptedIsAskedForAgain)
{
    startUpload(u"/f"_s, "a\nb");
    auto control = logIn({ "TYPE I", "EPSV" });
    ASSERT_TRUE(waitFor([this] { return loginIsDone(); }));
    m_recorder.close();
    control->say("451 Not now");
    control->say(extendedPassive());
    waitForKeptConnection();

    startUpload(u"/g"_s, "a\nb");

    EXPECT_EQ(control->hear(2), (QByteArrayList{ "TYPE I", "EPSV" }));
}

TEST_F(StreamRecoveryTest, ALoginThatWasNotSeenToSucceedIsNotKept)
{
    startUpload(u"/f"_s, "x");
    auto control = greet();
    EXPECT_EQ(control->hear(5).last(), "EPSV");

    m_recorder.close();

    EXPECT_NE(control->waitForEnd(), End::None);
    EXPECT_EQ(m_pool.connectionCount(), 0);
}

TEST_F(StreamRecoveryTest, AServerThatDropsCommandsSentAheadIsAskedWithoutPipelining)
{
    m_timeouts.reply = 500ms;
    startUpload(u"/f"_s, "x");
    auto control = greet();
    EXPECT_EQ(control->hear(5).last(), "EPSV");
    control->say("331 P");
    control->say("230 In");

    auto second = greet();
    EXPECT_EQ(second->hear(), "USER anna");
    EXPECT_TRUE(second->isSilent());
    EXPECT_EQ(m_recorder.log(), QStringList());
}

TEST_F(StreamRecoveryTest, DataNeverGoesToThisMachineWhenTheControlConnectionEndsBehindASuspendedLoop)
{
    // What a connection without an address would reach: this machine, at a port of the server's choice.
    ScriptedPeer bystander{ QHostAddress(QHostAddress::LocalHostIPv6) };
    startUpload(u"/f"_s, "x");
    auto control = logIn({ "TYPE I", "EPSV" });
    DeliveryGate& gate = DeliveryGate::ofThisThread();
    gate.setClosed(true);
    control->say("200 I");
    control->say(extendedPassive(bystander.port()));
    const int descriptors = openDescriptors();
    control->close();
    ASSERT_TRUE(
        waitForDescriptors([descriptors](int count) { return count <= descriptors - 2; })); // Both ends are closed.

    gate.setClosed(false);

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_TRUE(bystander.isLeftAlone());
}

TEST_F(StreamRecoveryTest, TheLastReplyToAnUploadIsToldWhateverAListingHearsMeanwhile)
{
    auto control = upload(u"first"_s, "1");
    start(m_factory.createListingStream(m_peer.location(u"/"_s)), m_other);
    EXPECT_EQ(control->hear(), "EPSV");
    control->say("530 Not your list");
    EXPECT_EQ(m_other.waitForEnd(), QStringList{ u"FTP 530"_s });

    EXPECT_EQ(m_other.lastReply(), u"530 Not your list"_s);
    EXPECT_EQ(m_recorder.lastReply(), u"226 Got it"_s);
    m_recorder.stream()->close();
    EXPECT_EQ(m_recorder.lastReply(), u"226 Got it"_s);
}

TEST_F(StreamRecoveryTest, NothingWasSaidToAnUploadThatHasJustBeenOpened)
{
    auto control = upload(u"first"_s, "1");

    startUpload(u"/second"_s, "2");

    EXPECT_TRUE(m_recorder.lastReply().isNull());
    EXPECT_FALSE(m_recorder.stream()->security());
}

} // namespace
