#include "StreamTest.h"

#include <cerrno>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace {

/// Called once, with the socket, when it has been asked how much is unacknowledged, before the answer is given.
std::function<void(int socket)>& afterCount()
{
    static std::function<void(int)> call;
    return call;
}

/// Whether the system cannot tell how much is unacknowledged.
bool& isCountUnknown()
{
    static bool isUnknown = false;
    return isUnknown;
}

} // namespace

// The linker leads the calls to __wrap_NAME and those of __real_NAME to the system: its names, not ours.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
extern "C" {

int __real_ioctl(int descriptor, unsigned long request, void* argument);
int __wrap_ioctl(int descriptor, unsigned long request, void* argument);

int __wrap_ioctl(int descriptor, unsigned long request, void* argument)
{
    if (request == SIOCOUTQ && isCountUnknown()) {
        errno = EINVAL;
        return -1;
    }
    const int result = __real_ioctl(descriptor, request, argument);
    if (request == SIOCOUTQ && afterCount() != nullptr) {
        std::exchange(afterCount(), nullptr)(descriptor);
    }
    return result;
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)

namespace {

/// An upload is done when the server has said so and its TCP has acknowledged every byte and our end, whatever the
/// order.
class DeliveryTest : public EachEncryptionTest {
protected:
    /// Begins an upload of @p size bytes to a server whose TCP acknowledges none of them.
    std::unique_ptr<PeerConnection> beginUnacknowledged(qsizetype size)
    {
        m_recorder.isIdle = true;
        startUpload(u"/f"_s, QByteArray(size, 'x'));
        auto control = open("STOR f");
        EXPECT_TRUE(m_recorder.waitFor(u"space"_s));
        m_data->stopAcknowledging();
        m_recorder.isIdle = false;
        control->say("150 Come");
        EXPECT_TRUE(waitFor([this] { return m_recorder.written() > 0; }));
        return control;
    }

    ~DeliveryTest() override { isCountUnknown() = false; }

    bool hasEnded() const { return m_recorder.log().last() != u"space"_s; }
};

TEST_P(DeliveryTest, AResetWithAllBytesUnacknowledgedIsAFailureWhateverTheServerSays)
{
    for (const qsizetype size : { qsizetype(1), qsizetype(100'000), tooMuch }) {
        auto control = beginUnacknowledged(size);
        m_data->reset();
        control->say("226 Got it");

        EXPECT_EQ(m_recorder.waitForEnd().last(), u"other"_s) << size;
        EXPECT_EQ(control->waitForEnd(), End::Finished);
    }
}

TEST_P(DeliveryTest, AResetThatComesAfterTheConfirmationOfUnacknowledgedBytesIsAFailure)
{
    auto control = beginUnacknowledged(1000);
    control->say("226 Got it");
    EXPECT_FALSE(waitFor([this] { return hasEnded(); }, 100ms));
    m_data->reset();

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"other"_s);
}

TEST_P(DeliveryTest, AResetWithAPartUnacknowledgedIsAFailureWhateverTheServerSays)
{
    m_dataPeer.limitReceiveBuffer(4096);
    startUpload(u"/f"_s, QByteArray(1'000'000, 'x'));
    auto control = open("STOR f");
    control->say("150 Come");
    EXPECT_TRUE(waitFor([this] { return m_recorder.written() > 0; }));
    m_data->receive(1);
    m_data->reset();
    control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"other"_s);
}

TEST_P(DeliveryTest, AResetWithEverythingAcknowledgedIsASuccessIfTheServerSaysSo)
{
    startUpload(u"/f"_s, "hello");
    auto control = open("STOR f");
    EXPECT_EQ(m_data->receiveToEnd(), "hello");
    m_data->acknowledgeAtOnce();
    m_data->reset();
    control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_P(DeliveryTest, AConfirmationWaitsForTheAcknowledgement)
{
    auto control = beginUnacknowledged(5);
    control->say("226 Got it");
    EXPECT_FALSE(waitFor([this] { return hasEnded(); }, 2s));

    m_data->acknowledgeAgain();

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_P(DeliveryTest, AConfirmationWaitsForTheAcknowledgementAlsoWithoutTheServer)
{
    auto control = beginUnacknowledged(5);
    control->say("226 Got it");
    control->close();
    EXPECT_FALSE(waitFor([this] { return hasEnded(); }, 200ms));

    m_data->acknowledgeAgain();

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_P(DeliveryTest, WhatTheSystemDoesNotTellHasNotBeenAcknowledged)
{
    isCountUnknown() = true;
    startUpload(u"/f"_s, "hello");
    auto control = open("STOR f");
    EXPECT_EQ(m_data->receiveToEnd(), "hello");
    control->say("226 Got it");
    EXPECT_FALSE(waitFor([this] { return hasEnded(); }, 200ms));

    isCountUnknown() = false;

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_P(DeliveryTest, AConnectionThatEndsBehindTheLastAcknowledgementHasDelivered)
{
    auto control = beginUnacknowledged(5);
    bool hasClosed = false;
    afterCount() = [this, &hasClosed](int socket) {
        m_data->acknowledgeAgain();
        m_data->receiveToEnd();
        m_data->close();
        hasClosed = waitFor([socket] {
            tcp_info info{};
            socklen_t size = sizeof info;
            return getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size) == 0 && info.tcpi_state == TCP_CLOSE;
        });
    };
    EXPECT_TRUE(waitFor([&hasClosed] { return hasClosed; }));
    control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"end"_s);
}

TEST_P(DeliveryTest, AConfirmationOfWhatIsNeverAcknowledgedIsAFailure)
{
    m_timeouts.stalledData = 200ms;
    auto control = beginUnacknowledged(5);
    control->say("226 Got it");

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"silent"_s);
}

TEST_P(DeliveryTest, TheConfirmationIsWaitedForOnceFromTheAcknowledgementOn)
{
    m_timeouts.confirmation = 300ms;
    startUpload(u"/f"_s, "hello");
    auto control = open("STOR f");
    EXPECT_EQ(m_data->receiveToEnd(), "hello");
    QElapsedTimer sinceEnd;
    sinceEnd.start();

    EXPECT_EQ(m_recorder.waitForEnd().last(), u"silent"_s);
    EXPECT_GE(sinceEnd.elapsed(), 250);
}

RUN_IN_CLEAR_AND_ENCRYPTED(DeliveryTest);

} // namespace
