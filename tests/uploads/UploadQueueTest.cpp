#include "UploadQueue.h"

#include "Printers.h"
#include "UploadHistory.h"

#include <gtest/gtest.h>

#include <utility>

using namespace Qt::StringLiterals;
using Outcome = HistoryEntry::Outcome;

namespace {

TEST(UploadQueueTest, WhatComesFirstGoesFirstAndDuplicatesAreKept)
{
    UploadHistory history;
    UploadQueue queue(history);
    queue.append({ u"/b"_s, u"/a"_s });
    queue.append({ u"/b"_s });

    EXPECT_EQ(queue.paths(), (QStringList{ u"/b"_s, u"/a"_s, u"/b"_s }));
    EXPECT_EQ(queue.takeFirst(), u"/b"_s);
    EXPECT_EQ(queue.takeFirst(), u"/a"_s);
    EXPECT_EQ(queue.size(), 1);
}

TEST(UploadQueueTest, TheHistoryHasWhatWaitsAndWhatWasLeftOut)
{
    UploadHistory history;
    UploadQueue queue(history);

    queue.append({ u"/a"_s }, { u"/folder"_s });

    EXPECT_EQ(queue.paths(), QStringList{ u"/a"_s });
    ASSERT_EQ(history.rowCount(), 2);
    EXPECT_EQ(history.entries()[0].outcome, Outcome::LeftOut);
    EXPECT_EQ(history.waitingCount(), 1);
}

TEST(UploadQueueTest, WhatIsClearedHasNotBeenSent)
{
    UploadHistory history;
    UploadQueue queue(history);
    queue.append({ u"/a"_s, u"/b"_s });

    queue.clear();

    EXPECT_TRUE(queue.isEmpty());
    EXPECT_EQ(history.runTally(), FileTally{ .removed = 2 });
}

TEST(UploadQueueTest, AFileForAnotherTryHasADestinationOfItsOwn)
{
    UploadHistory history;
    UploadQueue queue(history);
    const Destination destination{ .location = u"ftp://host/"_s, .username = u"anna"_s };
    queue.append({ u"/a"_s });
    queue.appendAgain({ u"/b"_s, u"/c"_s }, destination);
    queue.append({ u"/d"_s });
    EXPECT_EQ(queue.firstDestination(), nullptr);
    queue.takeFirst();
    history.nextFileStarts({ u"ftp://elsewhere/"_s });
    ASSERT_NE(queue.firstDestination(), nullptr);
    EXPECT_EQ(*queue.firstDestination(), destination);
    queue.dropFirst();
    EXPECT_EQ(history.entries()[1].outcome, Outcome::Removed);
    EXPECT_TRUE(history.entries()[1].isFor(destination));
    EXPECT_FALSE(history.entries()[1].isFor({ u"ftp://elsewhere/"_s }));
    ASSERT_NE(queue.firstDestination(), nullptr);
    queue.takeFirst();

    EXPECT_EQ(queue.firstDestination(), nullptr);
    EXPECT_EQ(queue.paths(), QStringList{ u"/d"_s });
}

TEST(UploadQueueTest, WhatIsTakenOutLeavesAllOthersTheirDestinations)
{
    UploadHistory history;
    UploadQueue queue(history);
    const Destination destination{ .location = u"ftp://host/"_s };
    const Destination other{ .location = u"ftp://other/"_s };
    queue.appendAgain({ u"/0"_s, u"/1"_s }, destination);
    queue.append({ u"/2"_s });
    queue.append({ u"/3"_s }, {}, { .number = 1, .isUnattended = true });
    queue.appendAgain({ u"/4"_s, u"/5"_s }, other);
    queue.append({ u"/6"_s });
    queue.takeFirst();
    history.nextFileStarts(destination);

    const UploadQueue::Held taken = queue.takeUnbound(false);

    EXPECT_EQ(taken.paths, (QStringList{ u"/2"_s, u"/6"_s }));
    EXPECT_EQ(taken.rows, (QList{ 2, 6 }));
    EXPECT_EQ(history.waitingCount(), 6);
    EXPECT_EQ(queue.takeUnbound(true).rows, QList{ 3 });
    queue.append({ u"/7"_s });
    for (const auto& [path, expected] :
         { std::pair(u"/1"_s, &destination), { u"/4"_s, &other }, { u"/5"_s, &other }, { u"/7"_s, nullptr } }) {
        const Destination* const present = queue.firstDestination();
        EXPECT_EQ(present == nullptr ? Destination() : *present, expected == nullptr ? Destination() : *expected);
        EXPECT_EQ(queue.takeFirst(), path);
    }
}

TEST(UploadQueueTest, WhatComesIntoAClearedQueueIsForNoDestinationOfItsOwn)
{
    UploadHistory history;
    UploadQueue queue(history);
    queue.appendAgain({ u"/a"_s }, { u"ftp://host/"_s });
    queue.clear();
    queue.append({ u"/a"_s });

    EXPECT_EQ(queue.firstDestination(), nullptr);
}

} // namespace
