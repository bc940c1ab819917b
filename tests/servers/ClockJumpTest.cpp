#include "DestinationSettings.h"
#include "ShiftedClock.h"
#include "WindowServerTest.h"

#include <QElapsedTimer>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto jump = 48h;

/// The window while the clock of the machine is set: before, during and after an upload.
class ClockJumpTest : public WindowServerTest, public ::testing::WithParamInterface<std::chrono::hours> {
protected:
    ClockJumpTest()
    {
        auto& timeouts = m_engine.timeouts();
        timeouts.connect = 5s;
        timeouts.reply = 5s;
        timeouts.stalledData = 5s;
        timeouts.confirmation = 5s;
    }
    ~ClockJumpTest() override { shiftWallClock(0s); }

    /// Uploads a large file, and jumps once the server has got the command.
    void jumpInAnUploadOf(const QString& name)
    {
        const QDateTime before = QDateTime::currentDateTime();
        m_controller->uploadFiles({ makeFile(name, QByteArray(1'000'000, 'x')) });
        ASSERT_TRUE(m_server.waitForCommand("STOR " + name.toUtf8()));
        shiftWallClock(GetParam());
        ASSERT_GT(std::abs(before.secsTo(QDateTime::currentDateTime())), 24 * 3600);
        ASSERT_GT(std::abs(std::chrono::system_clock::to_time_t(std::chrono::system_clock::now())
                           - before.toSecsSinceEpoch()),
                  24 * 3600);
    }

    HistoryEntry lastEntry() { return m_controller->history().entries().last(); }
};

TEST_P(ClockJumpTest, AFileGoesOnThroughSilencesWhereverTheClockGoes)
{
    int number = 0;
    for (const QByteArrayList& steps : {
             QByteArrayList{ "150 Go", "accept", "wait 300", "read", "226 Got it" },
             QByteArrayList{ "wait 300", "150 Go", "read", "226 Got it" },
             QByteArrayList{ "150 Go", "read", "wait 300", "226 Got it" },
         }) {
        SCOPED_TRACE(steps.join('|').toStdString());
        shiftWallClock(0s);
        m_server.forgetRules();
        m_server.on("STOR", steps);
        QElapsedTimer clock;
        clock.start();

        jumpInAnUploadOf(u"file %1"_s.arg(++number));
        EXPECT_TRUE(waitUntilIdle());

        EXPECT_EQ(status(), u"Upload succeeded"_s);
        ASSERT_TRUE(lastEntry().durationMs);
        EXPECT_GE(*lastEntry().durationMs, 300);
        EXPECT_LE(*lastEntry().durationMs, clock.elapsed());
    }
}

TEST_P(ClockJumpTest, SilenceEndsAtItsLimitWhereverTheClockGoes)
{
    auto& timeouts = m_engine.timeouts();
    timeouts.stalledData = timeouts.confirmation = 500ms;
    timeouts.reason = timeouts.drain = 100ms;
    m_server.on("STOR", { "150 Go", "read 9", "silence" });
    QElapsedTimer clock;
    clock.start();

    jumpInAnUploadOf(u"file"_s);
    EXPECT_TRUE(waitUntilIdle());

    EXPECT_EQ(status(), u"Stream open error"_s);
    EXPECT_GE(clock.elapsed(), 500);
    m_server.forgetRules();
    EXPECT_EQ(list(), u"Listing succeeded"_s);
}

TEST_P(ClockJumpTest, SettingsThatAreStoredAfterwardsAreSeen)
{
    shiftWallClock(GetParam());
    QDir(m_server.root()).mkdir(u"other"_s);
    for (const QString& folder : { u"other"_s, u"folder"_s, u"other"_s }) {
        set({ { u"FTPFolder"_s, folder } });
        EXPECT_TRUE(DestinationSettings::createFullDestinationPathFromAppNameAndFTPFolder().endsWith(folder + u'/'));
    }

    m_controller->uploadFiles({ makeFile(u"file"_s) });
    EXPECT_TRUE(waitUntilIdle());

    EXPECT_EQ(m_server.file(u"other/file"_s), QByteArray("hello"));
}

INSTANTIATE_TEST_SUITE_P(, ClockJumpTest, ::testing::Values(jump, -jump),
                         [](const auto& each) { return each.param > 0h ? "Forwards" : "Backwards"; });

} // namespace
