#include "PathList.h"

#include "LocalPath.h"
#include "Printers.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(PathListTest, HoldsEveryPathOfTheSystemInItsOrder)
{
    const QStringList paths{ u"/b"_s, u"/a"_s, u"/b"_s, u""_s, u"/é\U0001F600\n"_s, LocalPath::fromBytes("/caf\xe9") };

    const PathList list(paths);

    EXPECT_EQ(list.size(), 6);
    EXPECT_EQ(list.toStringList(), paths);
    EXPECT_EQ(list.at(5), paths[5]);
    EXPECT_EQ(list, paths);
    EXPECT_FALSE(list == PathList({ u"/b"_s, u"/a"_s }));
}

TEST(PathListTest, WhatComesFirstIsTakenFirst)
{
    PathList list{ u"/a"_s, u"/b"_s };
    list.append(PathList{ u"/c"_s });

    EXPECT_EQ(list.takeFirst(), u"/a"_s);
    EXPECT_EQ(list.takeFirst(), u"/b"_s);
    EXPECT_EQ(list, PathList{ u"/c"_s });
    EXPECT_EQ(list.takeFirst(), u"/c"_s);
    EXPECT_TRUE(list.isEmpty());
    list.append(u"/d"_s);
    EXPECT_EQ(list, PathList{ u"/d"_s });
}

TEST(PathListTest, AListThatSharesItsPathsStaysWhenTheOtherChanges)
{
    PathList list{ u"/a"_s, u"/b"_s };
    const PathList copy = list;
    PathList joined{ u"/0"_s };
    list.takeFirst();
    joined.append(list);

    list.append(u"/c"_s);
    list.append(list);
    joined.append(u"/d"_s);

    EXPECT_EQ(copy, (PathList{ u"/a"_s, u"/b"_s }));
    EXPECT_EQ(list, (PathList{ u"/b"_s, u"/c"_s, u"/b"_s, u"/c"_s }));
    EXPECT_EQ(joined, (PathList{ u"/0"_s, u"/b"_s, u"/d"_s }));
    list.clear();
    EXPECT_TRUE(list.isEmpty());
    EXPECT_EQ(joined.at(1), u"/b"_s);
}

TEST(PathListTest, ListsThatShareGoOnEachForItself)
{
    PathList list{ u"/a"_s };
    PathList copy = list;
    list.append(u"/b"_s);
    copy.append(PathList{ u"/c"_s });
    list.append(PathList{ u"/d"_s });

    EXPECT_EQ(list, (PathList{ u"/a"_s, u"/b"_s, u"/d"_s }));
    EXPECT_EQ(copy, (PathList{ u"/a"_s, u"/c"_s }));
}

TEST(PathListTest, GrowingPathByPathTakesNoTimeByTheirNumberWhoeverHasCopies)
{
    constexpr int many = 200'000;
    PathList list;
    PathList copy;
    for (int i = 0; i < many; ++i) {
        list.append(PathList{ u"/folder/file"_s });
        copy = list;
    }
    EXPECT_EQ(copy.size(), many);
    EXPECT_EQ(copy.at(many - 1), u"/folder/file"_s);
}

TEST(PathListTest, ACopyOfAPartHasItsPathsAndSharesNothing)
{
    PathList list{ u"/a"_s, u"/b"_s };
    list.append(PathList{ LocalPath::fromBytes("/caf\xe9"), u"/d"_s });
    list.takeFirst();

    const PathList copy = list.copied(0, 2);

    EXPECT_EQ(copy, (PathList{ u"/b"_s, LocalPath::fromBytes("/caf\xe9") }));
    EXPECT_EQ(copy.bytesAt(1), "/caf\xe9");
    EXPECT_NE(copy.bytesAt(0).data(), list.bytesAt(0).data());
    EXPECT_TRUE(list.copied(3, 0).isEmpty());
}

TEST(PathListTest, JoiningTakesNoTimeByTheNumberOfPaths)
{
    const PathList many(QStringList(100'000, u"/folder/file"_s));
    PathList all;
    for (int i = 0; i < 10'000; ++i) { // A thousand million paths.
        all.append(many);
    }
    EXPECT_EQ(all.size(), 1'000'000'000);
    EXPECT_EQ(all.at(999'999'999), u"/folder/file"_s);
}

} // namespace
