// A machine that has given out all its ports, as it has after many files in little time.

#include "PrivateNetwork.h"
#include "StreamTest.h"

#include <QFile>
#include <QTcpSocket>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr quint16 firstPort = 20'000; ///< Outside of what the system gives out unless told.

/// Somebody has this port, if not a connection has it.
class TakenPort {
public:
    explicit TakenPort(quint16 port)
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        static_cast<void>(::bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address));
    }
    TakenPort(const TakenPort&) = delete;
    TakenPort& operator=(const TakenPort&) = delete;
    ~TakenPort() { ::close(m_socket); }

private:
    int m_socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

/// Only two ports are given out here.
class NoPortLeftTest : public StreamTest {
protected:
    static void SetUpTestSuite()
    {
        network = std::make_unique<PrivateNetwork>();
        ASSERT_EQ(network->problem().toStdString(), "");
    }
    NoPortLeftTest() { givePorts("20000 20001\n"); }
    ~NoPortLeftTest() override { givePorts("32768 60999\n"); }

    static void givePorts(const QByteArray& range)
    {
        QFile file(u"/proc/sys/net/ipv4/ip_local_port_range"_s);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        EXPECT_EQ(file.write(range), range.size());
    }
    void takeAllPorts()
    {
        for (quint16 i = 0; i < 2; ++i) {
            m_taken.push_back(std::make_unique<TakenPort>(static_cast<quint16>(firstPort + i)));
        }
    }

    static inline std::unique_ptr<PrivateNetwork> network; // Made before the peers that are in it.
    std::vector<std::unique_ptr<TakenPort>> m_taken;
};

TEST_F(NoPortLeftTest, OneThatIsMissingForTheConnectionIsWaitedFor)
{
    takeAllPorts();
    startUpload(u"/f"_s, "x");
    drainEventLoop();
    EXPECT_TRUE(m_recorder.log().isEmpty());

    m_taken.clear();

    EXPECT_NE(logIn({ "TYPE I", "EPSV" }), nullptr);
}

TEST_F(NoPortLeftTest, WithoutOneForTheConnectionTheTransferFailsWhenItsTimeIsOver)
{
    m_engine.timeouts().connect = 300ms;
    takeAllPorts();
    QElapsedTimer time;
    time.start();

    startUpload(u"/f"_s, "x");

    EXPECT_EQ(m_recorder.waitForEnd(), QStringList{ u"other"_s });
    EXPECT_GE(time.elapsed(), 300);
}

TEST_F(NoPortLeftTest, OneThatIsMissingForTheDataIsWaitedForBeforeAnythingIsAskedFor)
{
    startUpload(u"/f"_s, "x");
    auto control = logIn({ "TYPE I", "EPSV" });
    takeAllPorts();
    QTcpSocket other; // The connection's own port could serve once more, for another peer.
    other.connectToHost(QHostAddress::LocalHost, m_dataPeer.port());
    ASSERT_NE(m_dataPeer.accept(), nullptr);
    control->say("200 I");
    control->say(extendedPassive());
    EXPECT_TRUE(control->isSilent());
    EXPECT_TRUE(m_recorder.log().isEmpty());

    m_taken.clear();

    EXPECT_EQ(control->hear(), "STOR f");
    m_data = m_dataPeer.accept();
    EXPECT_EQ(m_data->receiveToEnd(), "x");
    control->say("226 Got it");
    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

} // namespace
