#include "UploadHistory.h"

#include "HistoryRows.h"
#include "LocalPath.h"
#include "Printers.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using Outcome = HistoryEntry::Outcome;

namespace {

class UploadHistoryTest : public ::testing::Test {
protected:
    UploadHistoryTest()
    {
        QObject::connect(&m_history, &UploadHistory::queueDrained, &m_history, [this] {
            const FileTally& tally = m_history.queueTally();
            m_drained.append(u"%1 confirmed, %2 failed, %3 stopped, %4 removed"_s.arg(tally.confirmed)
                                 .arg(tally.failed)
                                 .arg(tally.stopped)
                                 .arg(tally.removed));
        });
    }

    void send(qint64 size = 5, const QString& destination = u"ftp://host/in/"_s)
    {
        m_history.nextFileStarts({ destination });
        m_history.fileMoves(size);
    }
    void confirmNext(qint64 size = 5)
    {
        send(size);
        m_history.fileConfirmed(size, u"226 Done"_s);
    }
    void failNext()
    {
        send();
        m_history.fileEnded({ .kind = Outcome::Failed, .status = u"Stream open error"_s });
    }
    Outcome outcome(int row) { return m_history.entries()[row].outcome; }

    static ListingEntry item(const QString& name, std::optional<qint64> size, int type = ListingEntry::plainFileType)
    {
        ListingEntry entry;
        entry.name = name;
        entry.size = size;
        entry.type = type;
        return entry;
    }
    void list(const QList<ListingEntry>& items, const QString& location = u"ftp://host/in/"_s)
    {
        m_history.listingStarts(location);
        m_history.listed(items);
        m_history.listingSucceeded();
    }
    bool canQueueAgain(int row) { return m_history.entries()[row].canQueueAgain(); }
    std::optional<qint64> listedSize(int row) { return m_history.entries()[row].listedSize; }

    qint64 m_now = 1000;
    UploadHistory m_history{ [this] { return m_now; } };
    QStringList m_drained;
};

TEST_F(UploadHistoryTest, AFileGoesFromWaitingOverSendingToConfirmed)
{
    m_history.filesQueued({ u"/a"_s, u"/b"_s });
    EXPECT_EQ(outcome(0), Outcome::Waiting);
    EXPECT_FALSE(m_history.isSending());

    m_history.nextFileStarts({ u"ftp://host/"_s });
    EXPECT_EQ(outcome(0), Outcome::Sending);
    EXPECT_EQ(m_history.currentRow(), 0);
    m_history.fileMoves(7);
    m_now += 250;
    m_history.fileConfirmed(6, u"226 Done"_s);

    const HistoryEntry& entry = m_history.entries()[0];
    EXPECT_EQ(entry.outcome, Outcome::Confirmed);
    EXPECT_EQ(entry.size, 6);
    EXPECT_EQ(entry.durationMs, 250);
    EXPECT_EQ(entry.reply, u"226 Done"_s);
    EXPECT_EQ(outcome(1), Outcome::Waiting);
    EXPECT_EQ(m_history.currentRow(), -1);
}

TEST_F(UploadHistoryTest, WhatNeverMovedHasNeitherSizeNorDuration)
{
    m_history.filesQueued({ u"/a"_s });
    m_history.nextFileStarts({ u"ftp://host/"_s });
    m_now += 5;

    m_history.fileEnded({ .kind = Outcome::NotFound });

    EXPECT_EQ(outcome(0), Outcome::NotFound);
    EXPECT_FALSE(m_history.entries()[0].size);
    EXPECT_FALSE(m_history.entries()[0].durationMs);
}

TEST_F(UploadHistoryTest, ClearingTheQueueRemovesWhatWaitsAlone)
{
    m_history.filesQueued({ u"/a"_s, u"/b"_s, u"/c"_s });
    confirmNext();
    send();

    m_history.queueCleared();

    EXPECT_EQ(outcome(0), Outcome::Confirmed);
    EXPECT_EQ(outcome(1), Outcome::Sending);
    EXPECT_EQ(outcome(2), Outcome::Removed);
}

TEST_F(UploadHistoryTest, AManualFileStandsWhereItWasStartedAndTakesNoneFromTheQueue)
{
    m_history.filesQueued({ u"/a"_s });

    m_history.manualFileStarts(u"/m"_s, { u"ftp://host/"_s });
    m_history.fileMoves(5);
    m_history.fileConfirmed(5, QString());
    confirmNext();

    ASSERT_EQ(m_history.rowCount(), 2);
    EXPECT_EQ(outcome(0), Outcome::Confirmed);
    EXPECT_EQ(m_history.entries()[1].path, u"/m"_s);
    EXPECT_EQ(outcome(1), Outcome::Confirmed);
}

TEST_F(UploadHistoryTest, ANoteIsALineOfItsOwn)
{
    m_history.note(u"passed over"_s);

    ASSERT_EQ(m_history.rowCount(), 1);
    EXPECT_EQ(outcome(0), Outcome::Note);
    EXPECT_FALSE(canQueueAgain(0));
}

TEST_F(UploadHistoryTest, AQueueThatIsWorkedOffSaysSoOnceAndHowItWent)
{
    m_history.filesQueued({ u"/a"_s, u"/b"_s, u"/c"_s, u"/d"_s });
    confirmNext();
    failNext();
    send();
    m_history.fileEnded({ .kind = Outcome::Stopped, .status = u"Upload Stopped"_s });
    EXPECT_TRUE(m_drained.isEmpty());

    m_history.nextFileStarts({ u"ftp://host/"_s });
    m_history.fileEnded({ .kind = Outcome::NotFound });

    EXPECT_EQ(m_drained, QStringList{ u"1 confirmed, 2 failed, 1 stopped, 0 removed"_s });
    m_history.filesQueued({ u"/e"_s });
    confirmNext();
    EXPECT_EQ(m_drained.last(), u"1 confirmed, 0 failed, 0 stopped, 0 removed"_s);
    EXPECT_EQ(m_drained.size(), 2);
}

TEST_F(UploadHistoryTest, AClearedQueueIsWorkedOffWhenTheFileUnderWayIsOver)
{
    m_history.filesQueued({ u"/a"_s, u"/b"_s });
    send();
    m_history.queueCleared();
    EXPECT_TRUE(m_drained.isEmpty());

    m_history.fileConfirmed(5, QString());

    EXPECT_EQ(m_drained, QStringList{ u"1 confirmed, 0 failed, 0 stopped, 1 removed"_s });
}

TEST_F(UploadHistoryTest, AManualFileIsNoQueue)
{
    m_history.manualFileStarts(u"/m"_s, { u"ftp://host/"_s });
    m_history.fileMoves(5);

    m_history.fileConfirmed(5, QString());

    EXPECT_TRUE(m_drained.isEmpty());
}

TEST_F(UploadHistoryTest, TheProgressOfTheQueueCountsFilesAndThePartOfThePresentOne)
{
    EXPECT_EQ(m_history.queueProgress(50), 0);
    m_history.filesQueued({ u"/a"_s, u"/b"_s, u"/c"_s, u"/d"_s });
    EXPECT_EQ(m_history.queueProgress(50), 0);
    confirmNext();
    EXPECT_EQ(m_history.queueProgress(0), 0.25);
    send();

    EXPECT_EQ(m_history.queueProgress(50), 0.375);
}

TEST_F(UploadHistoryTest, WhatIsLeftOutIsCountedInTheQueueOfItsDropAndNeverAsFailed)
{
    m_history.filesQueued({ u"/a"_s }, { u"/folder"_s });
    confirmNext();

    EXPECT_EQ(m_history.queueTally(), (FileTally{ .confirmed = 1, .leftOut = 1 }));
    EXPECT_EQ(outcome(0), Outcome::LeftOut);
    EXPECT_FALSE(canQueueAgain(0));
    EXPECT_EQ(m_drained.size(), 1);

    m_history.filesQueued({}, { u"/folder"_s });
    EXPECT_EQ(m_history.queueTally(), FileTally{ .leftOut = 1 });
    EXPECT_EQ(m_drained.size(), 2);
}

TEST_F(UploadHistoryTest, AQueueBeginsWithTheFirstFileThatIsAddedWhileNoneWaits)
{
    m_history.filesQueued({ u"/a"_s });
    send();
    m_history.filesQueued({ u"/b"_s });
    m_history.fileConfirmed(5, QString());
    failNext();
    EXPECT_EQ(m_history.queueTally(), (FileTally{ .confirmed = 1, .failed = 1 }));
    EXPECT_EQ(m_history.queueText(), u"1 of 2 uploaded, 1 failed"_s);

    m_history.filesQueued({ u"/c.txt"_s });
    confirmNext();

    EXPECT_EQ(m_history.queueTally(), FileTally{ .confirmed = 1 });
    EXPECT_EQ(m_history.queueText(), u"“c.txt” uploaded"_s);
    EXPECT_EQ(m_history.runTally(), (FileTally{ .confirmed = 2, .failed = 1 }));
}

// Trying again.

TEST_F(UploadHistoryTest, AFileThatIsQueuedAgainCountsByItsLastTry)
{
    m_history.filesQueued({ u"/a"_s });
    failNext();
    m_history.filesQueued(m_history.takeToQueueAgain({ 0 }));

    confirmNext();

    EXPECT_EQ(m_history.runTally(), FileTally{ .confirmed = 1 });
}

TEST_F(UploadHistoryTest, AFileThatWaitsAgainIsNotCountedWhenAListingCorrectsItsFormerTry)
{
    m_history.filesQueued({ u"/a"_s });
    confirmNext(5);
    list({ item(u"a"_s, 4) });
    m_history.filesQueued(m_history.takeToQueueAgain({ 0 }));

    list({ item(u"a"_s, 5) });

    EXPECT_EQ(outcome(0), Outcome::Confirmed);
    EXPECT_EQ(m_history.runTally(), FileTally());
}

TEST_F(UploadHistoryTest, LostFilesCanBeQueuedAgainAndAreOnlyOnce)
{
    m_history.filesQueued({ u"/a"_s, u"/b"_s, u"/c"_s });
    failNext();
    confirmNext();
    send();
    m_history.fileEnded({ .kind = Outcome::Stopped, .status = u"Upload Stopped"_s });
    ASSERT_TRUE(m_history.hasUnsettledRows());
    EXPECT_EQ(HistoryRows::unsettled(m_history.entries()), (QList<int>{ 0, 2 }));
    EXPECT_FALSE(canQueueAgain(1));

    EXPECT_EQ(m_history.takeToQueueAgain({ 0, 1, 2 }), (QStringList{ u"/a"_s, u"/c"_s }));

    EXPECT_FALSE(m_history.hasUnsettledRows());
    EXPECT_TRUE(m_history.takeToQueueAgain({ 0, 1, 2 }).isEmpty());
    EXPECT_EQ(outcome(0), Outcome::Failed);
}

TEST_F(UploadHistoryTest, RemovedAndManualFilesAreQueuedAgainOnlyOnPurpose)
{
    m_history.filesQueued({ u"/a"_s });
    m_history.queueCleared();
    m_history.manualFileStarts(u"/m"_s, { u"ftp://host/"_s });
    m_history.fileEnded({ .kind = Outcome::Failed, .status = u"Invalid URL"_s });

    EXPECT_FALSE(m_history.hasUnsettledRows());
    EXPECT_TRUE(HistoryRows::unsettled(m_history.entries()).isEmpty());
    EXPECT_EQ(m_history.takeToQueueAgain({ 1, 0 }), (QStringList{ u"/m"_s, u"/a"_s }));
    EXPECT_FALSE(m_history.hasUnsettledRows());
}

// The list beside it.

TEST_F(UploadHistoryTest, AListedSizeThatDiffersIsFlagged)
{
    m_history.filesQueued({ u"/a"_s, u"/b"_s });
    confirmNext(5);
    confirmNext(6);

    list({ item(u"a"_s, 4), item(u"b"_s, 6), item(u"c"_s, 9) });

    EXPECT_EQ(listedSize(0), 4);
    EXPECT_FALSE(listedSize(1));
}

TEST_F(UploadHistoryTest, AFileWhoseNameIsNotUtf8IsFoundInTheListingByItsBytes)
{
    m_history.filesQueued({ LocalPath::fromBytes("/caf\xe9") });
    confirmNext(5);
    ListingEntry listed = item(u"cafÈ"_s, 4);
    listed.rawName = "caf\xe9"_ba;

    list({ item(u"cafÈ"_s, 3), listed });

    EXPECT_EQ(listedSize(0), 4);
}

TEST_F(UploadHistoryTest, OnlyTheFirstListingAfterTheConfirmationCounts)
{
    m_history.filesQueued({ u"/a"_s, u"/b"_s });
    confirmNext(5);
    list({ item(u"a"_s, 5) });
    list({ item(u"a"_s, 4) }); // Somebody else has changed it since.
    EXPECT_FALSE(listedSize(0));

    send(5);
    m_history.listingStarts(u"ftp://host/in/"_s);
    m_history.fileConfirmed(5, QString());
    m_history.listed({ item(u"b"_s, 2) }); // What there was of it while it was being sent.
    m_history.listingSucceeded();
    EXPECT_FALSE(listedSize(1));
    list({ item(u"b"_s, 3) });
    EXPECT_EQ(listedSize(1), 3);
}

TEST_F(UploadHistoryTest, AFileThatIsConfirmedDuringAListingIsNotMissedInIt)
{
    m_history.filesQueued({ u"/a"_s });
    send();
    m_history.listingStarts(u"ftp://host/in/"_s);
    m_history.fileConfirmed(5, QString());

    m_history.listingSucceeded();
    EXPECT_EQ(outcome(0), Outcome::Confirmed);

    list({});
    EXPECT_EQ(outcome(0), Outcome::NotListed);
}

TEST_F(UploadHistoryTest, AListingThatFailsLeavesTheQuestionToTheNextOne)
{
    m_history.filesQueued({ u"/a"_s });
    confirmNext(5);
    m_history.listingStarts(u"ftp://host/in/"_s);

    list({ item(u"a"_s, 4) });

    EXPECT_EQ(listedSize(0), 4);
}

TEST_F(UploadHistoryTest, AConfirmedFileThatTheListingDoesNotHoldIsNotListedUntilALaterOneHoldsIt)
{
    m_history.filesQueued({ u"/a"_s, u"/b"_s });
    confirmNext(5);
    confirmNext(5);
    list({ item(u"A"_s, 5) });
    EXPECT_EQ(outcome(0), Outcome::NotListed);
    EXPECT_EQ(outcome(1), Outcome::NotListed);
    EXPECT_EQ(m_history.queueTally().notListed, 2);

    list({ item(u"a"_s, 5), item(u"b"_s, 4) });

    EXPECT_EQ(outcome(0), Outcome::Confirmed);
    EXPECT_EQ(outcome(1), Outcome::OtherSize);
    EXPECT_EQ(m_history.queueTally(), (FileTally{ .confirmed = 1, .otherSize = 1 }));
    EXPECT_EQ(m_history.runTally(), (FileTally{ .confirmed = 1, .otherSize = 1 }));

    list({ item(u"a"_s, 5), item(u"b"_s, 5) });
    EXPECT_EQ(m_history.queueTally(), FileTally{ .confirmed = 2 });
    EXPECT_FALSE(listedSize(1));
}

TEST_F(UploadHistoryTest, AHiddenFileIsMissedOnlyInAListingThatHoldsHiddenNames)
{
    m_history.filesQueued({ u"/.a"_s, u"/.b"_s });
    confirmNext(5);
    list({ item(u"."_s, 5), item(u".."_s, 5), item(u"c"_s, 5) });
    EXPECT_EQ(outcome(0), Outcome::Confirmed);
    confirmNext(5);

    list({ item(u".c"_s, 5) });

    EXPECT_EQ(outcome(1), Outcome::NotListed);
}

TEST_F(UploadHistoryTest, WhatAListingLearnsCorrectsTheCountsOfTheQueueThatHasEnded)
{
    m_history.filesQueued({ u"/a"_s, u"/b"_s });
    confirmNext(5);
    confirmNext(5);
    ASSERT_EQ(m_history.queueTally(), FileTally{ .confirmed = 2 });
    QSignalSpy checked(&m_history, &UploadHistory::filesChecked);
    EXPECT_TRUE(m_history.hasUncheckedFiles());

    list({ item(u"a"_s, 4), item(u"b"_s, 5) });

    EXPECT_EQ(m_history.queueTally(), (FileTally{ .confirmed = 1, .otherSize = 1 }));
    EXPECT_EQ(outcome(0), Outcome::OtherSize);
    EXPECT_EQ(HistoryRows::unsettled(m_history.entries(), m_history.firstQueueRow()), QList<int>{ 0 });
    EXPECT_EQ(checked.size(), 1);
    EXPECT_FALSE(m_history.hasUncheckedFiles());
}

TEST_F(UploadHistoryTest, AnotherFolderIsNoAnswer)
{
    m_history.filesQueued({ u"/a"_s });
    confirmNext(5);

    list({ item(u"a"_s, 4) }, u"ftp://host/other/"_s);
    EXPECT_FALSE(listedSize(0));
    list({}, u"ftp://host/other/"_s);
    EXPECT_EQ(outcome(0), Outcome::Confirmed);

    list({ item(u"a"_s, 4) });
    EXPECT_EQ(listedSize(0), 4);
}

TEST_F(UploadHistoryTest, AFileThatIsBeingReplacedIsNotCompared)
{
    m_history.filesQueued({ u"/x/a"_s, u"/y/a"_s });
    confirmNext(5);
    m_history.listingStarts(u"ftp://host/in/"_s);
    send(9);

    m_history.listed({ item(u"a"_s, 2) });

    EXPECT_FALSE(listedSize(0));
}

TEST_F(UploadHistoryTest, ItemsWithoutASizeOfTheirOwnAreNotCompared)
{
    m_history.filesQueued({ u"/a"_s, u"/b"_s });
    confirmNext(5);
    confirmNext(5);

    list({ item(u"a"_s, 4, ListingEntry::linkType), item(u"b"_s, std::nullopt) });

    EXPECT_FALSE(listedSize(0));
    EXPECT_FALSE(listedSize(1));
}

TEST_F(UploadHistoryTest, OnlyFilesOfTheQueueAreWaitedFor)
{
    m_history.manualFileStarts(u"/m"_s, { u"ftp://elsewhere/"_s });
    m_history.fileMoves(5);
    m_history.fileConfirmed(5, QString());
    EXPECT_FALSE(m_history.hasUncheckedFiles());
    m_history.filesQueued({ u"/a"_s });
    confirmNext();
    EXPECT_TRUE(m_history.hasUncheckedFiles());

    m_history.forgetUnchecked(); // Another destination is in force.

    EXPECT_FALSE(m_history.hasUncheckedFiles());
    list({ item(u"b"_s, 5) });
    EXPECT_EQ(outcome(1), Outcome::Confirmed);
}

TEST(LongUploadHistoryTest, AHundredThousandFilesTellOfThreeChangesEach)
{
    constexpr int count = 100'000;
    QStringList paths;
    for (int i = 0; i < count; ++i) {
        paths.append(u"/folder/file %1"_s.arg(i));
    }
    UploadHistory history;
    qsizetype changedRows = 0;
    QObject::connect(&history, &UploadHistory::rowsChanged, &history,
                     [&changedRows](int first, int last) { changedRows += last - first + 1; });

    history.filesQueued(paths);
    for (int i = 0; i < count; ++i) {
        history.nextFileStarts({ u"ftp://host/"_s });
        history.fileMoves(1);
        history.fileConfirmed(1, u"226 Done"_s);
        history.listingStarts(u"ftp://host/"_s); // One that fails: nothing is learned from it.
    }

    EXPECT_EQ(history.rowCount(), count);
    EXPECT_EQ(changedRows, 3 * count);
}

TEST_F(UploadHistoryTest, AQueueIsNotOverAsLongAsMoreComes)
{
    m_history.setMoreComes(true);
    EXPECT_TRUE(m_history.isQueueUnderWay());
    EXPECT_EQ(m_history.queueProgress(0), 0);
    m_history.filesQueued({ u"/a"_s });
    confirmNext();
    m_history.filesQueued({ u"/b"_s });
    confirmNext();
    EXPECT_TRUE(m_drained.isEmpty());

    m_history.setMoreComes(false);

    EXPECT_FALSE(m_history.isQueueUnderWay());
    EXPECT_EQ(m_drained, QStringList{ u"2 confirmed, 0 failed, 0 stopped, 0 removed"_s });
}

TEST_F(UploadHistoryTest, NoListingOfTheDestinationTellsOfAFileInAFolderThere)
{
    m_history.filesQueued({ u"/in/a"_s, u"/x/.//./Photos/a"_s });
    confirmNext(5);
    confirmNext(7);

    list({ item(u"a"_s, 6) });

    EXPECT_EQ(outcome(0), Outcome::OtherSize);
    EXPECT_EQ(outcome(1), Outcome::Confirmed);
}

} // namespace
