#include "UploadQueue.h"

#include "UploadHistory.h"

#include <gtest/gtest.h>

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
