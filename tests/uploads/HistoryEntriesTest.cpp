#include "HistoryEntries.h"

#include "Printers.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using Outcome = HistoryEntry::Outcome;

namespace {

TEST(HistoryEntriesTest, AnEntryIsAsItWasAppendedAndChangedWhateverComesBehindIt)
{
    HistoryEntries entries{ { .path = u"/folder"_s, .outcome = Outcome::LeftOut } };
    entries.append(PathList{ u"/a"_s, u"/b"_s });
    entries.append({ .path = u"/m"_s, .isManual = true });
    entries.change(2, [](HistoryEntry& entry) {
        entry = { .destination = u"ftp://host/"_s,
                  .username = u"anna"_s,
                  .encryption = FTPEncryption::Required,
                  .outcome = Outcome::OtherSize,
                  .isQueuedAgain = true,
                  .isAwaitingTry = true,
                  .size = 5,
                  .acknowledged = 3,
                  .durationMs = 7,
                  .listedSize = 0,
                  .status = u"status"_s,
                  .reply = u"226 Done"_s };
    });
    entries.append({ .path = u"A note"_s, .outcome = Outcome::Note });
    entries.change(2, [](HistoryEntry& entry) { entry.size.reset(); });

    ASSERT_EQ(entries.size(), 5);
    QStringList paths;
    QList<Outcome> outcomes;
    for (const HistoryEntry& entry : entries) {
        paths.append(entry.path);
        outcomes.append(entry.outcome);
    }
    EXPECT_EQ(paths, (QStringList{ u"/folder"_s, u"/a"_s, u"/b"_s, u"/m"_s, u"A note"_s }));
    EXPECT_EQ(outcomes,
              (QList{ Outcome::LeftOut, Outcome::Waiting, Outcome::OtherSize, Outcome::Waiting, Outcome::Note }));
    EXPECT_TRUE(entries[3].isManual);
    EXPECT_FALSE(entries[1].isManual);
    EXPECT_TRUE(entries[1].destination.isNull());
    entries.append(PathList{ u"/x"_s }, 0, { u"ftp://host/"_s, u"anna"_s, u"s3cret"_s });
    EXPECT_TRUE(entries.last().isFor({ u"ftp://host/"_s, u"anna"_s }));
    EXPECT_FALSE(entries.last().isFor({ u"ftp://host/"_s }));
    const HistoryEntry changed = entries[2];
    EXPECT_EQ(changed.path, u"/b"_s);
    EXPECT_TRUE(entries.withoutPath(2).path.isNull());
    EXPECT_TRUE(changed.isQueuedAgain);
    EXPECT_TRUE(changed.isAwaitingTry);
    EXPECT_EQ(changed.destination, u"ftp://host/"_s);
    EXPECT_EQ(changed.username, u"anna"_s);
    EXPECT_EQ(changed.encryption, FTPEncryption::Required);
    EXPECT_FALSE(entries[3].username);
    EXPECT_FALSE(changed.size);
    EXPECT_EQ(changed.acknowledged, 3);
    EXPECT_EQ(changed.durationMs, 7);
    EXPECT_EQ(changed.listedSize, 0);
    EXPECT_EQ(changed.status, u"status"_s);
    EXPECT_EQ(changed.reply, u"226 Done"_s);
}

} // namespace
