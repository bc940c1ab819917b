#include "LauncherProgress.h"

#include "DesktopServices.h"
#include "Metronome.h"
#include "Printers.h"
#include "PrivateBus.h"
#include "WaitFor.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

class LauncherProgressTest : public ::testing::Test {
protected:
    LauncherProgressTest() { m_dock.listen(m_bus.serviceConnection()); }

    PrivateBus m_bus;
    Dock m_dock;
    LauncherProgress m_progress{ m_bus.connection(), u"org.example.Scans"_s };
};

TEST_F(LauncherProgressTest, ProgressIsShownAndTakenAway)
{
    m_progress.setProgress(0.5);
    ASSERT_TRUE(waitFor([this] { return m_dock.heard.size() == 1; }));
    m_progress.setProgress(std::nullopt);
    ASSERT_TRUE(waitFor([this] { return m_dock.heard.size() == 2; }));

    EXPECT_EQ(m_dock.heard,
              (QStringList{ u"application://org.example.Scans.desktop, 0.5"_s,
                            u"application://org.example.Scans.desktop, none"_s }));
}

TEST_F(LauncherProgressTest, ItIsToldFourTimesASecondAndOfTheLastChange)
{
    const Metronome fourTimesASecond(250ms);
    QElapsedTimer clock;
    clock.start();
    int step = 0;

    ASSERT_TRUE(waitFor([this, &step] {
        m_progress.setProgress(++step / 1e6);
        return m_dock.heard.size() == 4;
    }));
    EXPECT_GE(clock.elapsed(), 700);
    EXPECT_LE(fourTimesASecond.beats(), 12);
    m_progress.setProgress(1);
    ASSERT_TRUE(waitFor([this] { return m_dock.heard.value(m_dock.heard.size() - 1).endsWith(u", 1"_s); }));

    EXPECT_GT(step, 10);
}

TEST_F(LauncherProgressTest, WhatStaysTheSameIsNotRepeated)
{
    m_progress.setProgress(0.25);
    m_progress.setProgress(0.25);
    ASSERT_TRUE(waitFor([this] { return !m_dock.heard.isEmpty(); }));
    m_progress.setProgress(0.25);

    m_progress.setProgress(0.75);
    ASSERT_TRUE(waitFor([this] { return m_dock.heard.last().endsWith(u"0.75"_s); }));

    EXPECT_EQ(m_dock.heard.size(), 2);
}

} // namespace
