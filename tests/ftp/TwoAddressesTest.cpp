// A host that has an IPv6 and an IPv4 address, by its name. Here names mean what this test says.

#include "Metronome.h"
#include "PrivateNetwork.h"
#include "StreamTest.h"

namespace {

class TwoAddressesTest : public StreamTest {
protected:
    static void SetUpTestSuite()
    {
        network = std::make_unique<PrivateNetwork>();
        QByteArray hosts = "::1 two.example\n127.0.0.1 two.example\n"
                           "2001:db8::1 nowhere.example\n127.0.0.1 nowhere.example\n"; // No route leads to the first.
        for (int i = 1; i <= manyAddresses; ++i) {
            hosts += "127.0.0." + QByteArray::number(i) + " many.example\n";
        }
        network->nameHosts(hosts);
        ASSERT_EQ(network->problem().toStdString(), "");
    }

    void startUploadByName(const QByteArray& data, const QString& host = u"two.example"_s)
    {
        m_recorder.data = data;
        start(m_factory.createUploadStream(u"ftp://%1:%2/f"_s.arg(host).arg(m_peer.port()), data.size()), m_recorder);
    }
    /// Begins an upload and answers whether @p peer is where it goes.
    bool goesTo(ScriptedPeer& peer, const QString& host = u"two.example"_s)
    {
        startUploadByName("x", host);
        auto control = peer.accept();
        control->say("220 Ready");
        const bool isFound = !control->hear().isEmpty();
        m_recorder.close(); // The connection goes with it: its login has not been answered.
        return isFound;
    }

    static constexpr int manyAddresses = 10;
    static inline std::unique_ptr<PrivateNetwork> network; // Made before the peers that are in it.
    ScriptedPeer m_peerOfIPv6{ QHostAddress::LocalHostIPv6, m_peer.port() };
};

TEST_F(TwoAddressesTest, OneThatIsSilentCostsLessThanASecond)
{
    m_peerOfIPv6.stopAnswering();
    const Metronome metronome(10ms);
    startUploadByName("hello");

    auto control = open("STOR f");
    EXPECT_EQ(m_data->receiveToEnd(), "hello");
    control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
    EXPECT_LT(metronome.beats(), 100);
}

TEST_F(TwoAddressesTest, TheOneThatHasAnsweredIsTriedFirstFromThenOn)
{
    m_peerOfIPv6.stopAnswering();
    EXPECT_TRUE(goesTo(m_peer));
    m_peerOfIPv6.answerAgain();

    EXPECT_TRUE(goesTo(m_peer));

    EXPECT_TRUE(m_peerOfIPv6.isLeftAlone());
}

TEST_F(TwoAddressesTest, OneThatRefusesLeavesTheOther)
{
    m_peerOfIPv6.stopListening();

    EXPECT_TRUE(goesTo(m_peer));
}

TEST_F(TwoAddressesTest, OnesThatRefuseAreFollowedByTheNextAtOnce)
{
    const Metronome metronome(10ms);
    startUploadByName("x", u"many.example"_s);
    m_peer.stopListening(); // Nobody has looked for it yet.

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });

    EXPECT_LT(metronome.beats(), 150); // Not a quarter of a second each.
}

TEST_F(TwoAddressesTest, OneThatCannotBeReachedLeavesTheOther)
{
    EXPECT_TRUE(goesTo(m_peer, u"nowhere.example"_s));
}

TEST_F(TwoAddressesTest, OnceThatOneIsSilentTheOtherIsTriedFirst)
{
    m_peerOfIPv6.stopAnswering();
    EXPECT_TRUE(goesTo(m_peer));
    m_peerOfIPv6.answerAgain();
    m_peer.stopAnswering();

    EXPECT_TRUE(goesTo(m_peerOfIPv6));
    m_peer.answerAgain();
    EXPECT_TRUE(goesTo(m_peerOfIPv6));

    EXPECT_TRUE(m_peer.isLeftAlone());
}

TEST_F(TwoAddressesTest, WhereNeitherAnswersTheLimitHoldsForBothTogether)
{
    m_timeouts.connect = 600ms;
    m_peer.stopAnswering();
    m_peerOfIPv6.stopAnswering();
    const Metronome metronome(10ms);

    startUploadByName("x");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"silent"_s });
    EXPECT_LT(metronome.beats(), 120);
}

TEST_F(TwoAddressesTest, OnceNobodyListensThereNoneIsPreferred)
{
    m_peerOfIPv6.stopAnswering();
    EXPECT_TRUE(goesTo(m_peer));
    const quint16 port = m_peer.port();
    m_peerOfIPv6.stopListening();
    m_peer.stopListening();
    start(m_factory.createUploadStream(u"ftp://two.example:%1/f"_s.arg(port), 1), m_recorder);
    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });

    EXPECT_TRUE(m_engine.servers().of({ u"two.example"_s, port, {}, {} }).address.isNull());
}

} // namespace
