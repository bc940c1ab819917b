#include "Watchdog.h"

#include "DeliveryGate.h"
#include "WaitFor.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

class WatchdogTest : public ::testing::Test {
protected:
    WatchdogTest()
    {
        QObject::connect(&m_watchdog, &Watchdog::expired, &m_watchdog, [this] { m_expired = true; });
        m_clock.start();
    }
    ~WatchdogTest() override { m_gate.setClosed(false); }

    std::chrono::milliseconds elapsed() const { return std::chrono::milliseconds(m_clock.elapsed()); }
    /// Lets that time pass without a turn of the loop, so that no timer comes, however late the machine is.
    void passWithoutTheLoop(std::chrono::milliseconds time) const
    {
        const QDeadlineTimer end(time);
        while (!end.hasExpired()) { }
    }

    DeliveryGate& m_gate = DeliveryGate::ofThisThread();
    Watchdog m_watchdog{ m_gate };
    QElapsedTimer m_clock;
    bool m_expired = false;
};

TEST_F(WatchdogTest, TellsWhenItsTimeIsOver)
{
    m_watchdog.start(30ms);

    ASSERT_TRUE(waitFor([this] { return m_expired; }));

    EXPECT_GE(elapsed(), 29ms);
}

TEST_F(WatchdogTest, ARestartBeginsTheWaitAgain)
{
    m_watchdog.start(200ms);
    passWithoutTheLoop(60ms);

    m_watchdog.restart();

    ASSERT_TRUE(waitFor([this] { return m_expired; }));
    EXPECT_GE(elapsed(), 259ms);
}

TEST_F(WatchdogTest, StoppedItTellsNothing)
{
    m_watchdog.start(10ms);

    m_watchdog.stop();

    EXPECT_FALSE(waitFor([this] { return m_expired; }, 50ms));
}

TEST_F(WatchdogTest, StandsStillWhileTheGateIsClosed)
{
    m_watchdog.start(40ms);
    passWithoutTheLoop(20ms);

    m_gate.setClosed(true);
    EXPECT_FALSE(waitFor([this] { return m_expired; }, 100ms));
    m_gate.setClosed(false);

    ASSERT_TRUE(waitFor([this] { return m_expired; }));
    EXPECT_GE(elapsed(), 135ms);
}

TEST_F(WatchdogTest, StartedWhileTheGateIsClosedItWaitsForTheOpening)
{
    m_gate.setClosed(true);
    m_watchdog.start(10ms);
    EXPECT_FALSE(waitFor([this] { return m_expired; }, 50ms));

    m_gate.setClosed(false);

    EXPECT_TRUE(waitFor([this] { return m_expired; }));
}

} // namespace
