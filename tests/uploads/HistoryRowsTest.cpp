#include "HistoryRows.h"

#include "TreePath.h"

#include <QTemporaryDir>
#include <QTemporaryFile>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using Outcome = HistoryEntry::Outcome;

namespace {

QList<LedgerRow> rowsOf(const HistoryEntries& entries)
{
    QList<LedgerRow> rows;
    for (int number = 0; number < static_cast<int>(entries.size()); ++number) {
        rows.append({ { .row = 0, .number = number }, entries[number] });
    }
    return rows;
}

QList<int> numbersOf(const QList<LedgerRow>& rows)
{
    QList<int> numbers;
    for (const LedgerRow& row : rows) {
        numbers.append(row.key.number);
    }
    return numbers;
}

HistoryEntries entriesOf(const QList<Outcome>& outcomes)
{
    HistoryEntries entries;
    for (const Outcome outcome : outcomes) {
        entries.append({ .outcome = outcome });
    }
    return entries;
}

TEST(HistoryRowsTest, UnsettledAreTheLostAndTheStoppedOfAQueueFromThatRowOn)
{
    HistoryEntries entries
        = entriesOf({ Outcome::Refused, Outcome::Confirmed, Outcome::OtherSize, Outcome::NotListed, Outcome::Stopped,
                      Outcome::Removed, Outcome::LeftOut, Outcome::Note, Outcome::Waiting, Outcome::Sending });
    entries.append({ .outcome = Outcome::Failed, .isManual = true });
    entries.append({ .outcome = Outcome::Failed, .isQueuedAgain = true });

    EXPECT_EQ(HistoryRows::unsettled(entries), (QList<int>{ 0, 2, 4 }));
    EXPECT_EQ(HistoryRows::unsettled(entries, 3), QList<int>{ 4 });
}

TEST(HistoryRowsTest, RepeatableIsAlsoWhatWasRemovedOrSentByHand)
{
    HistoryEntries entries
        = entriesOf({ Outcome::Silent, Outcome::Removed, Outcome::Confirmed, Outcome::LeftOut, Outcome::Waiting });
    entries.append({ .outcome = Outcome::ConnectionLost, .isManual = true });
    entries.append({ .outcome = Outcome::ConnectionLost, .isQueuedAgain = true });

    EXPECT_EQ(numbersOf(HistoryRows::repeatable(rowsOf(entries))), (QList<int>{ 0, 1, 5 }));
}

TEST(HistoryRowsTest, WhatIsTriedAgainByItselfIsRepeatableForItsOwnRunAlone)
{
    const HistoryEntry entry{ .outcome = Outcome::ConnectionLost, .isAwaitingTry = true };

    EXPECT_EQ(HistoryRows::repeatable({ { { .number = 0 }, entry } }).size(), 1);
    EXPECT_TRUE(HistoryRows::repeatable({ { { .row = 1 }, entry } }).isEmpty());
}

TEST(HistoryRowsTest, RemarkableIsWhatWasNotSimplyUploadedOrElseEverything)
{
    HistoryEntries entries = entriesOf({ Outcome::Failed, Outcome::Confirmed, Outcome::Note, Outcome::LeftOut });
    entries.append({ .outcome = Outcome::Failed, .isManual = true });

    EXPECT_EQ(HistoryRows::remarkable(entries, 1), QList<int>{ 3 });
    EXPECT_EQ(HistoryRows::remarkable(entriesOf({ Outcome::Confirmed, Outcome::Note, Outcome::Confirmed }), 0),
              (QList<int>{ 0, 2 }));
}

TEST(HistoryRowsTest, ADestinationIsAnotherOneByItsFolderItsUserOrItsEncryptionAsFarAsTheyAreKnown)
{
    using enum FTPEncryption;
    const Destination present{ .location = u"ftp://a/"_s, .username = u"anna"_s, .password = u"p"_s };
    HistoryEntries entries;
    for (const Destination& destination :
         { Destination{ u"ftp://a/"_s, u"anna"_s, u"former"_s }, Destination{ u"ftp://b/"_s, u"anna"_s },
           Destination{ u"ftp://a/"_s, u"bob"_s }, Destination{ u"ftp://a/"_s },
           Destination{ u"ftp://a/"_s, u"anna"_s, QString(), Required } }) {
        HistoryEntry entry;
        entry.setDestination(destination);
        entries.append(entry);
    }
    entries.append(HistoryEntry{}); // It was not started.
    entries.append({ .destination = u"ftp://a/"_s }); // Nobody knows as whom.

    EXPECT_EQ(numbersOf(HistoryRows::forOthers(rowsOf(entries), present)), (QList<int>{ 1, 2, 3, 4 }));
}

TEST(HistoryRowsTest, PresentIsWhatIsAPlainFileByNow)
{
    const QTemporaryDir folder;
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    const HistoryEntries entries{ { .path = folder.filePath(u"gone"_s) },
                                  { .path = folder.path() },
                                  { .path = file.fileName() } };

    EXPECT_EQ(numbersOf(HistoryRows::present(rowsOf(entries))), QList<int>{ 2 });
    EXPECT_TRUE(HistoryRows::isAnyPresent(entries, { 0, 1, 2 }));
    EXPECT_FALSE(HistoryRows::isAnyPresent(entries, { 0, 1 }));
    EXPECT_FALSE(HistoryRows::isAnyPresent(entries, QList<int>(100, 0)));
    EXPECT_TRUE(HistoryRows::isAnyPresent(entries, QList<int>(101, 0))); // Nobody has looked.
}

TEST(HistoryRowsTest, PresentIsAlsoAFolderThatIsToBeMadeOnTheServerAndNoneThatCouldNotBeRead)
{
    const QTemporaryDir folder;
    const QString inTree = QString::fromUtf8(TreePath::ofFolder("", folder.path().toUtf8().sliced(1)));
    const HistoryEntries entries{ { .path = inTree }, { .path = inTree + u'/' }, { .path = folder.path() + u'/' } };

    EXPECT_EQ(numbersOf(HistoryRows::present(rowsOf(entries))), QList<int>{ 0 });
}

} // namespace
