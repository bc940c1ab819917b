#include "OpenDescriptors.h"
#include "StreamTest.h"

#include <algorithm>

namespace {

/// What is left behind by one transfer must not harm the next.
class StreamRecoveryTest : public StreamTest {
protected:
    void first()
    {
        startUpload(u"/first"_s, "1");
        m_control = open("STOR first");
        m_data->receiveToEnd();
        m_control->say("226 Got it");
        ASSERT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    }

    /// A second upload keeps the only login; two further ones wait for it.
    void fillTheQueueForTheOnlyLogin()
    {
        first();
        startUpload(u"/second"_s, "2");
        m_control->hear();
        m_control->say(extendedPassive());
        m_data = m_dataPeer.accept();
        m_control->hear();
        m_data->receiveToEnd();
        for (StreamRecorder* waiter : { &m_other, &m_third }) {
            waiter->data = "3";
            waiter->start(m_factory.createUploadStream(m_peer.location(u"/third"_s), 1));
            auto refused = m_peer.accept();
            refused->say("421 Only one");
            ASSERT_NE(refused->waitForEnd(), End::None);
        }
        m_recorder.onEvent = [this](const QString& told) {
            if (told == u"end"_s || told == u"other"_s) {
                m_other.close();
            }
        };
    }

    /// Whether the login of a transfer under way was seen to succeed, its folder included.
    bool loginIsDone() const
    {
        const auto connections = m_pool.findChildren<ControlConnection*>();
        return std::any_of(connections.begin(), connections.end(), [](ControlConnection* connection) {
            return connection->isInUse() && connection->session().loginFolder.has_value();
        });
    }

    std::unique_ptr<PeerConnection> m_control;
    StreamRecorder m_other;
    StreamRecorder m_third;
};

TEST_F(StreamRecoveryTest, ARefusedTypeIsAskedForAgain)
{
    startUpload(u"/f"_s, "a\nb");
    auto control = logIn({ "TYPE I", "EPSV" });
    control->say("451 Not now");
    control->say(extendedPassive());
    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 451"_s });
    ASSERT_TRUE(waitFor([this] { return m_pool.idleCount() > 0; }));
    startUpload(u"/g"_s, "a\nb");
    EXPECT_NE(control->hear(), "EPSV"); // The type first, or a fresh connection.
}

TEST_F(StreamRecoveryTest, ATypeRefusedBehindAFolderIsAskedForAgain)
{
    first();
    startUpload(u"/sub/f"_s, "a\nb");
    EXPECT_EQ(m_control->hear(3).size(), 3);
    m_control->say("250 There");
    m_control->say("451 Not now");
    m_control->say(extendedPassive());
    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 451"_s });
    ASSERT_TRUE(waitFor([this] { return m_pool.idleCount() > 0; }));
    startUpload(u"/sub/g"_s, "a\nb");
    EXPECT_TRUE(m_control->hear().startsWith("CWD"));
}

TEST_F(StreamRecoveryTest, ATypeThatAnAbandonedTransferNeverSawAcceptedIsAskedForAgain)
{
    startUpload(u"/f"_s, "a\nb");
    auto control = logIn({ "TYPE I", "EPSV" });
    ASSERT_TRUE(waitFor([this] { return loginIsDone(); }));
    m_recorder.close();
    control->say("451 Not now");
    control->say(extendedPassive());
    ASSERT_TRUE(waitFor([this] { return m_pool.idleCount() > 0; }));

    startUpload(u"/g"_s, "a\nb");

    EXPECT_EQ(control->hear(2), (QByteArrayList{ "CWD /home", "TYPE I" }));
}

TEST_F(StreamRecoveryTest, AFolderOnAConnectionEndedWith421IsTriedOnAFreshOne)
{
    first();
    startCreation(u"/d"_s);
    m_control->hear();
    m_control->say("421 Idle for too long");
    m_control->close();
    EXPECT_NE(m_peer.accept(), nullptr);
    EXPECT_FALSE(m_recorder.log().contains(u"FTP 421"_s));
}

TEST_F(StreamRecoveryTest, AFolderOnADroppedConnectionIsTriedOnAFreshOne)
{
    first();
    startCreation(u"/d"_s);
    m_control->hear();
    m_control->reset();
    EXPECT_NE(m_peer.accept(), nullptr);
    EXPECT_FALSE(m_recorder.log().contains(u"other"_s));
}

TEST_F(StreamRecoveryTest, AWaiterThatIsGoneDoesNotKeepTheNextWaiting)
{
    fillTheQueueForTheOnlyLogin();

    m_control->reset();

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"other"_s);
    EXPECT_NE(m_peer.accept(), nullptr);
}

TEST_F(StreamRecoveryTest, AWaiterStoppedWithTheEndOfTheHolderDoesNotKeepTheNextWaiting)
{
    fillTheQueueForTheOnlyLogin();

    m_control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    EXPECT_EQ(m_control->hear(), "EPSV");
}

TEST_F(StreamRecoveryTest, ASuperfluousCommandCreatesNoFolder)
{
    startCreation(u"/a"_s);
    auto control = logIn({ "TYPE I" });
    control->say("200 I");
    control->hear();
    control->say("202 Command not implemented, superfluous at this site");
    EXPECT_NE(m_recorder.waitForEnd().last(), u"created"_s);
}

TEST_F(StreamRecoveryTest, AServerThatSwallowsWhatIsSentAheadIsAskedInTurn)
{
    m_timeouts.reply = 100ms;
    startUpload(u"/f"_s, "x");
    auto control = m_peer.accept();
    control->say("220 Ready");
    control->hear(5);
    control->say("331 P");
    control->say("230 In");
    EXPECT_NE(m_peer.accept(), nullptr);
    EXPECT_EQ(m_recorder.log(), QStringList());
}

TEST_F(StreamRecoveryTest, AConfirmedListingOutlivesItsControlConnection)
{
    startListing(u"/"_s);
    auto control = open("LIST");
    control->say("150 Comes");
    control->say("226 Done");
    ASSERT_TRUE(m_recorder.waitFor(u"open"_s));
    control->finish();
    EXPECT_EQ(control->waitForEnd(), End::Finished);

    m_data->sendBytes("line\r\n");
    m_data->close();

    EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"bytes"_s, u"end"_s }));
}

TEST_F(StreamRecoveryTest, AFolderOnAKeptConnectionIsOpenBeforeItIsCreatedAlsoBehindAHeldLoop)
{
    first();
    DeliveryGate& gate = DeliveryGate::ofThisThread();
    gate.setClosed(true);
    startCreation(u"/d"_s);
    if (m_control->hear() == "TYPE I") {
        m_control->say("200 I");
    }
    m_control->say("257 \"/home/d\" made");
    EXPECT_FALSE(waitFor([this] { return !m_recorder.log().isEmpty(); }, 50ms));

    gate.setClosed(false);
    m_recorder.waitForEnd();
    drainEventLoop();

    EXPECT_EQ(m_recorder.log(), (QStringList{ u"open"_s, u"created"_s }));
}

TEST_F(StreamRecoveryTest, DataNeverGoesToThisMachineWhenTheControlConnectionEndsBehindAHeldLoop)
{
    // What a connection without an address would reach: this machine, at a port of the server's choice.
    ScriptedPeer bystander{ QHostAddress(QHostAddress::LocalHostIPv6) };
    startUpload(u"/f"_s, "x");
    auto control = logIn({ "TYPE I", "EPSV" });
    DeliveryGate& gate = DeliveryGate::ofThisThread();
    gate.setClosed(true);
    control->say("200 I");
    control->say("229 Come (|||" + QByteArray::number(bystander.port()) + "|)");
    const int descriptors = openDescriptors();
    control->close();
    ASSERT_TRUE(
        waitForDescriptors([descriptors](int count) { return count <= descriptors - 2; })); // Both ends are closed.

    gate.setClosed(false);

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_TRUE(bystander.isLeftAlone());
}

TEST_F(StreamRecoveryTest, TheLastReplyIsToldEscapedAndWithoutThePassword)
{
    startListing(u"/"_s);
    const auto control = m_peer.accept();
    ASSERT_NE(control, nullptr);
    control->say("220 Ready");
    control->say("331 P");

    control->say("530 anna/secret is no login\x1b");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"FTP 530"_s });
    EXPECT_EQ(m_factory.lastReply(), u"530 anna/**** is no login\\x1b"_s);
}

TEST_F(StreamRecoveryTest, TheLastReplyToAnUploadIsToldWhateverAListingHearsMeanwhile)
{
    first();
    m_other.start(m_factory.createListingStream(m_peer.location(u"/"_s)));
    m_control->hear();
    m_control->say("530 Not your list");
    EXPECT_EQ(m_other.waitForEnd(), QStringList{ u"FTP 530"_s });

    EXPECT_EQ(m_factory.lastReply(), u"530 Not your list"_s);
    EXPECT_EQ(m_factory.lastUploadReply(), u"226 Got it"_s);
}

TEST_F(StreamRecoveryTest, NothingWasSaidToAnUploadThatHasJustBeenOpened)
{
    first();

    startUpload(u"/second"_s, "2");

    EXPECT_TRUE(m_factory.lastUploadReply().isNull());
}

TEST_F(StreamRecoveryTest, IdleConnectionsToAServerAreClosedOnRequest)
{
    startUpload(u"/f"_s, "hello");
    const auto control = open("STOR f");
    ASSERT_NE(control, nullptr);
    control->say("150 Go on");
    EXPECT_EQ(m_data->receiveToEnd(), "hello");
    control->say("226 Done");
    m_recorder.waitForEnd();
    ASSERT_TRUE(waitFor([this] { return m_pool.idleCount() == 1; }));

    m_factory.closeIdleConnections(u"ftp://elsewhere/"_s);
    EXPECT_EQ(m_pool.idleCount(), 1);
    m_factory.closeIdleConnections(m_peer.location(u"/any"_s));
    EXPECT_EQ(control->hear(), "QUIT");
    EXPECT_EQ(m_pool.idleCount(), 0);
}

} // namespace
