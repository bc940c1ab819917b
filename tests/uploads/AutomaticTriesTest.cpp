#include "AutomaticTries.h"

#include "CheckRows.h"
#include "DestinationSettings.h"
#include "Metronome.h"
#include "NetworkManager.h"
#include "Printers.h"
#include "PrivateNetwork.h"
#include "ProgramName.h"
#include "SettingNames.h"
#include "UploadHistory.h"
#include "UploadQueue.h"
#include "UserDefaults.h"
#include "WaitFor.h"

#include <QFile>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <ostream>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Outcome = HistoryEntry::Outcome;

/// Without it the bytes between its members would be printed, too.
static void PrintTo(const UploadOutcome& outcome, std::ostream* stream)
{
    *stream << static_cast<int>(outcome.kind) << ' ' << outcome.code;
}

namespace {

const UploadOutcome lost{ .kind = Outcome::ConnectionLost, .status = u"Network write error"_s };

class AutomaticTriesTest : public ::testing::Test {
protected:
    AutomaticTriesTest()
    {
        setProgramFileName(u"Quillbox"_s); // No drop icon, which has a folder of its own.
        NetworkManager::setReachabilitySource([this] {
            ++m_looks;
            return m_isReachable ? ReachabilityFlags(ReachabilityFlag::Reachable) : ReachabilityFlags();
        });
        set(SettingNames::retryFailedFiles, true);
        set(SettingNames::address, u"host"_s);
    }
    ~AutomaticTriesTest() override
    {
        NetworkManager::setReachabilitySource(nullptr);
        setProgramFileName(QString());
        QFile::remove(UserDefaults::standard().filePath());
    }

    static void set(const QString& key, const QJsonValue& value)
    {
        EXPECT_TRUE(UserDefaults::standard().store({ { key, value } }));
    }
    void setDelays(const AutomaticTries::Delays& delays) { m_tries.emplace(m_history, m_queue, delays); }
    /// Has the first file that waits end like that.
    void end(const UploadOutcome& outcome)
    {
        m_queue.takeFirst();
        m_history.nextFileStarts({ u"ftp://host/"_s });
        m_history.fileEnded(outcome);
    }
    void add(const PathList& paths) { m_queue.append(paths); }
    bool waitForQueue(const QStringList& paths)
    {
        return waitFor([this, &paths] { return m_queue.paths() == paths; });
    }

    bool m_isReachable = true;
    int m_looks = 0; ///< For a way to the network.
    UploadHistory m_history;
    UploadQueue m_queue{ m_history };
    std::optional<AutomaticTries> m_tries{ std::in_place, m_history, m_queue };
};

TEST_F(AutomaticTriesTest, AFileThatWasLostForTheConnectionIsQueuedAgainAtTheEnd)
{
    setDelays({ 1ms });
    add({ u"/a"_s, u"/b"_s });
    end(lost);
    EXPECT_EQ(m_tries->waitingCount(), 1);
    EXPECT_TRUE(m_history.entries()[0].isAwaitingTry);

    EXPECT_TRUE(waitForQueue({ u"/b"_s, u"/a"_s }));
    EXPECT_FALSE(m_history.entries()[0].isAwaitingTry);
    EXPECT_EQ(m_tries->waitingCount(), 0);
    EXPECT_TRUE(m_history.entries()[0].isQueuedAgain);
    EXPECT_FALSE(m_tries->isTry(1));
    EXPECT_TRUE(m_tries->isTry(2));
}

TEST_F(AutomaticTriesTest, OnlyWhatFailedForTheConnectionIsTriedAgain)
{
    checkRows<qsizetype(UploadOutcome)>(
        {
            { { .kind = Outcome::ConnectionLost }, 1 },
            { { .kind = Outcome::Silent }, 1 },
            { { .kind = Outcome::Refused, .code = 421 }, 1 },
            { { .kind = Outcome::Refused, .code = 550 }, 0 },
            { { .kind = Outcome::Stopped }, 0 },
            { { .kind = Outcome::Unanswered }, 0 },
            { { .kind = Outcome::Failed }, 0 },
            { { .kind = Outcome::NotFound }, 0 },
        },
        [this](const UploadOutcome& outcome) {
            add({ u"/a"_s });
            end(outcome);
            const qsizetype count = m_tries->waitingCount();
            m_tries->giveUp();
            return count;
        });
}

TEST_F(AutomaticTriesTest, NothingIsTriedAgainUnlessTheSettingsWantIt)
{
    set(SettingNames::retryFailedFiles, QJsonValue());
    add({ u"/a"_s });
    end(lost);
    EXPECT_EQ(m_tries->waitingCount(), 0);

    set(SettingNames::retryFailedFiles, true);
    setDelays({ 20ms });
    add({ u"/b"_s });
    end(lost);
    ASSERT_EQ(m_tries->waitingCount(), 1);
    set(SettingNames::retryFailedFiles, false);
    EXPECT_TRUE(waitFor([this] { return m_tries->waitingCount() == 0; }));
    EXPECT_TRUE(m_queue.isEmpty());
}

TEST_F(AutomaticTriesTest, NorAreFilesThatWereSentByHand)
{
    m_history.manualFileStarts(u"/m"_s, { u"ftp://host/"_s });
    m_history.fileEnded(lost);

    EXPECT_EQ(m_tries->waitingCount(), 0);
}

TEST_F(AutomaticTriesTest, TheFifthTryIsTheLast)
{
    setDelays({ 1ms, 1ms, 1ms, 1ms });
    add({ u"/a"_s });
    for (int number = 1; number <= 5; ++number) {
        ASSERT_TRUE(waitForQueue({ u"/a"_s })) << number;
        end(lost);
    }

    EXPECT_EQ(m_tries->waitingCount(), 0);
    EXPECT_EQ(m_history.rowCount(), 5);
}

TEST_F(AutomaticTriesTest, WithoutAWayToTheNetworkTheyWaitAndAreQueuedAtOnceWhenItIsBack)
{
    setDelays({ 1h });
    m_isReachable = false;
    add({ u"/a"_s, u"/b"_s });
    end(lost);
    end(lost);
    QCoreApplication::processEvents();
    EXPECT_FALSE(waitFor([this] { return !m_queue.isEmpty(); }, 1200ms));
    m_isReachable = true;

    EXPECT_TRUE(waitForQueue({ u"/a"_s, u"/b"_s }));
}

TEST_F(AutomaticTriesTest, ALinkThatGoesAndComesBackHasThemQueuedAtOnce)
{
    PrivateNetwork network;
    network.setDefaultRoute(true);
    ASSERT_TRUE(network.problem().isEmpty()) << network.problem().toStdString();
    NetworkManager::setReachabilitySource([this] {
        ++m_looks;
        return reachabilityFlags();
    });
    const auto waitForLook = [this] { return waitFor([this, before = m_looks] { return m_looks > before; }); };
    setDelays({ 1h });
    add({ u"/a"_s });
    end(lost);
    ASSERT_TRUE(waitForLook());
    network.setDefaultRoute(false);
    ASSERT_TRUE(waitForLook());
    EXPECT_TRUE(m_queue.isEmpty());
    network.setDefaultRoute(true);

    EXPECT_TRUE(waitForQueue({ u"/a"_s }));
    EXPECT_TRUE(network.problem().isEmpty()) << network.problem().toStdString();
}

TEST_F(AutomaticTriesTest, FilesAreTriedAfterTenSecondsHalfAMinuteAMinuteAndFiveMinutes)
{
    EXPECT_EQ(AutomaticTries::usualDelays(), (AutomaticTries::Delays{ 10s, 30s, 60s, 300s }));
}

TEST_F(AutomaticTriesTest, WithoutAWayToTheNetworkFilesThatAreDueAreLookedAtOnceASecond)
{
    setDelays({ 1ms });
    add({ u"/a"_s });
    m_isReachable = false;
    m_looks = 0;
    end(lost);
    ASSERT_TRUE(waitFor([this] { return m_looks > 0; }));
    const Metronome metronome(20ms);
    ASSERT_TRUE(waitFor([&metronome] { return metronome.beats() == 10; }));

    EXPECT_LE(m_looks, 3); // One, on a machine that does nothing else.
    EXPECT_TRUE(m_queue.isEmpty());
}

TEST_F(AutomaticTriesTest, WhereThereWasNoWayToTheNetworkWhenTheQueueBeganFilesAreTriedWhenTheyAreDue)
{
    setDelays({ 1ms, 1ms });
    m_isReachable = false; // The server is beside this machine.
    add({ u"/a"_s });
    end(lost);
    ASSERT_TRUE(waitForQueue({ u"/a"_s }));
    end(lost);

    EXPECT_TRUE(waitForQueue({ u"/a"_s }));
}

TEST_F(AutomaticTriesTest, ATryGoesToTheDestinationOfTheFirstOrIsGivenUp)
{
    setDelays({ 1ms });
    add({ u"/a"_s });
    end(lost);
    set(SettingNames::address, u"other"_s);

    ASSERT_TRUE(waitFor([this] { return m_tries->waitingCount() == 0; }));
    EXPECT_TRUE(m_queue.isEmpty());
    EXPECT_EQ(m_tries->hindrance(), u"no other try, as another destination is in force"_s);
    EXPECT_EQ(
        m_history.entries().last().path,
        u"One file waited for another try, which was given up: another destination is in force than ftp://host/."_s);
    add({ u"/b"_s });
    EXPECT_TRUE(m_tries->hindrance().isNull());
}

TEST_F(AutomaticTriesTest, OnlyFilesForAnotherDestinationAreGivenUp)
{
    const auto loseFor = [this](const QString& host, const PathList& paths) {
        set(SettingNames::address, host);
        add(paths);
        for (qsizetype index = 0; index < paths.size(); ++index) {
            m_queue.takeFirst();
            m_history.nextFileStarts({ u"ftp://%1/"_s.arg(host) });
            m_history.fileEnded(lost);
        }
    };
    loseFor(u"one"_s, { u"/a"_s, u"/b"_s });
    loseFor(u"two"_s, { u"/c"_s });
    loseFor(u"host"_s, { u"/d"_s });
    m_tries->tryNow();

    EXPECT_EQ(m_queue.paths(), QStringList{ u"/d"_s });
    EXPECT_TRUE(m_tries->isTry(4));
    EXPECT_EQ(m_tries->hindrance(), u"no other try, as another destination is in force"_s);
    EXPECT_EQ(
        m_history.entries()[5].path,
        u"2 files waited for another try, which was given up: another destination is in force than ftp://one/."_s);
    EXPECT_EQ(
        m_history.entries()[6].path,
        u"One file waited for another try, which was given up: another destination is in force than ftp://two/."_s);
    EXPECT_EQ(m_history.rowCount(), 7);
}

TEST_F(AutomaticTriesTest, AnotherUserIsAnotherDestination)
{
    setDelays({ 1ms });
    add({ u"/a"_s });
    end(lost);
    set(SettingNames::username, u"bob"_s);

    ASSERT_TRUE(waitFor([this] { return m_tries->waitingCount() == 0; }));
    EXPECT_FALSE(m_history.entries()[0].isAwaitingTry);
    EXPECT_TRUE(m_queue.isEmpty());
}

TEST_F(AutomaticTriesTest, ATryWhoseDestinationChangesWhileItStandsInTheQueueIsDroppedAndSaid)
{
    const Destination present = DestinationSettings::destination();
    const Destination other{ .location = u"ftp://other/"_s };
    add({ u"/a"_s, u"/b"_s });
    end(lost);
    end(lost);
    m_tries->tryNow();
    add({ u"/c"_s });
    m_tries->dropOthers(present);
    EXPECT_EQ(m_queue.size(), 3);
    m_tries->dropOthers(other);

    EXPECT_EQ(m_queue.paths(), QStringList{ u"/c"_s });
    EXPECT_EQ(m_tries->hindrance(), u"no other try, as another destination is in force"_s);
    EXPECT_EQ(
        m_history.entries().last().path,
        u"2 files waited for another try, which was given up: another destination is in force than ftp://host/."_s);
}

TEST_F(AutomaticTriesTest, TheUserHasThemTriedAtOnceOrNotAtAll)
{
    add({ u"/a"_s, u"/b"_s });
    end(lost);
    m_tries->tryNow();
    EXPECT_EQ(m_queue.paths(), (QStringList{ u"/b"_s, u"/a"_s }));
    end(lost);
    QSignalSpy changes(&*m_tries, &AutomaticTries::changed);
    m_tries->giveUp();

    EXPECT_EQ(m_tries->waitingCount(), 0);
    EXPECT_FALSE(m_history.entries()[1].isAwaitingTry);
    EXPECT_EQ(changes.size(), 1);
    EXPECT_EQ(m_queue.paths(), QStringList{ u"/a"_s });
}

TEST_F(AutomaticTriesTest, ATryThatIsUnderWayWhenTheyAreGivenUpIsTheLast)
{
    add({ u"/a"_s });
    end(lost);
    m_tries->tryNow();
    m_queue.takeFirst();
    m_history.nextFileStarts({ u"ftp://host/"_s });
    m_tries->giveUp();
    m_history.fileEnded(lost);
    EXPECT_EQ(m_tries->waitingCount(), 0);

    add({ u"/b"_s });
    m_queue.takeFirst();
    m_history.nextFileStarts({ u"ftp://host/"_s });
    m_tries->giveUp(); // Nobody has given up this file, which is no try.
    m_history.fileEnded(lost);
    EXPECT_EQ(m_tries->waitingCount(), 1);
}

TEST_F(AutomaticTriesTest, ATryThatIsUnderWayWhenTheSettingIsSwitchedOffIsTheLast)
{
    add({ u"/a"_s });
    end(lost);
    m_tries->tryNow();
    m_queue.takeFirst();
    m_history.nextFileStarts({ u"ftp://host/"_s });
    set(SettingNames::retryFailedFiles, false);
    m_history.fileEnded(lost);

    EXPECT_EQ(m_tries->waitingCount(), 0);
}

TEST_F(AutomaticTriesTest, WhatTheUserHasQueuedAgainIsNotQueuedTwice)
{
    add({ u"/a"_s, u"/b"_s });
    end(lost);
    end(lost);
    m_history.takeToQueueAgain({ 0 });
    m_tries->tryNow();

    EXPECT_EQ(m_queue.paths(), QStringList{ u"/b"_s });
    EXPECT_TRUE(m_tries->isTry(2));
    EXPECT_FALSE(m_tries->isTry(3));
}

} // namespace
