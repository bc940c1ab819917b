#include "PumpClock.h"

#include "Metronome.h"
#include "WaitFor.h"

#include <QDateTime>
#include <QElapsedTimer>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

/// A clock whose pump has nothing to do unless a test says so.
class PumpClockTest : public ::testing::Test {
protected:
    PumpClockTest()
    {
        QObject::connect(&m_clock, &PumpClock::due, &m_clock, [this] {
            ++m_count;
            m_clock.came(m_isBusy);
        });
        m_clock.start();
    }

    void makeImpatient() { m_clock.setPatience(50ms); }
    std::chrono::milliseconds interval() const { return m_clock.findChild<QTimer*>()->intervalAsDuration(); }
    bool waitUntilResting()
    {
        return waitFor([this] { return interval() > PumpClock::interval; });
    }

    PumpClock m_clock;
    bool m_isBusy = false;
    int m_count = 0;
};

TEST_F(PumpClockTest, ItRestsWhenNothingHasBeenGoingOnForTwoSeconds)
{
    QElapsedTimer time;
    time.start();
    m_clock.setSeen(true);

    ASSERT_TRUE(waitUntilResting());

    EXPECT_GE(time.elapsed(), 2000);
}

TEST_F(PumpClockTest, WhileSomethingGoesOnItDoesNotRest)
{
    makeImpatient();
    const Metronome tenths(100ms);
    m_clock.setSeen(true);
    m_isBusy = true;

    ASSERT_TRUE(waitFor([&tenths] { return tenths.beats() >= 5; }));

    EXPECT_EQ(interval(), 10ms);
}

TEST_F(PumpClockTest, InAWindowThatHasNeverBeenSeenItDoesNotRest)
{
    makeImpatient();
    const Metronome tenths(100ms);

    ASSERT_TRUE(waitFor([&tenths] { return tenths.beats() >= 5; }));

    EXPECT_EQ(interval(), 10ms);
}

TEST_F(PumpClockTest, AtRestItComesAtTheBeginningOfEachSecond)
{
    makeImpatient();
    m_clock.setSeen(true);
    ASSERT_TRUE(waitUntilResting());
    const qint64 second = QDateTime::currentSecsSinceEpoch();
    const int count = m_count;

    ASSERT_TRUE(waitFor([this, count] { return m_count == count + 2; }));

    EXPECT_GE(QDateTime::currentSecsSinceEpoch(), second + 1); // The first may just have been on its way.
    EXPECT_LE(interval(), 1s);
}

TEST_F(PumpClockTest, InAWindowThatNobodyCanSeeItComesEveryTenSeconds)
{
    makeImpatient();
    m_clock.setSeen(true);
    m_clock.setSeen(false);

    ASSERT_TRUE(waitUntilResting());

    EXPECT_EQ(interval(), 10s);
}

TEST_F(PumpClockTest, ItRestsAlsoForAWindowThatIsNeverShown)
{
    makeImpatient();
    m_clock.setSeen(false);

    ASSERT_TRUE(waitUntilResting());

    EXPECT_EQ(interval(), 10s);
}

TEST_F(PumpClockTest, AWindowThatCanBeSeenAgainIsLookedAfterAtOnce)
{
    makeImpatient();
    m_clock.setSeen(true);
    m_clock.setSeen(false);
    ASSERT_TRUE(waitUntilResting());

    m_clock.setSeen(true);

    EXPECT_EQ(interval(), 10ms);
}

TEST_F(PumpClockTest, WhatHasChangedWakesItForAsLongAsItsPatience)
{
    makeImpatient();
    m_clock.setSeen(true);
    ASSERT_TRUE(waitUntilResting());
    m_clock.setPatience(1s);

    QElapsedTimer time;
    time.start();
    m_clock.wake();

    EXPECT_EQ(interval(), 10ms);
    ASSERT_TRUE(waitUntilResting());
    EXPECT_GE(time.elapsed(), 1000);
}

} // namespace
