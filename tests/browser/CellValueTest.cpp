#include "CellValue.h"

#include "DateText.h"
#include "Entries.h"
#include "FileIcons.h"
#include "Printers.h"

#include <QDateTime>
#include <QIcon>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(CellValueTest, TheNameIsAsTheServerSentIt)
{
    EXPECT_EQ(cellValue(fileEntry(u" a\u202eb\n"_s), u"Name"_s), QVariant(u" a\u202eb\n"_s));
}

TEST(CellValueTest, OnlyPlainFilesShowASize)
{
    ListingEntry link = fileEntry(u"a"_s, 5);
    link.type = ListingEntry::linkType;
    ListingEntry untyped = fileEntry(u"a"_s, 5);
    untyped.type.reset();
    ListingEntry unsized = folderEntry(u"a"_s);
    unsized.size.reset();

    EXPECT_EQ(cellValue(fileEntry(u"a"_s, 1'234'567), u"Size"_s), QVariant(u"1.2 MB"_s));
    EXPECT_EQ(cellValue(folderEntry(u"a"_s), u"Size"_s), QVariant(u"-"_s));
    EXPECT_EQ(cellValue(link, u"Size"_s), QVariant(u"-"_s));
    EXPECT_EQ(cellValue(untyped, u"Size"_s), QVariant(u"-"_s));
    EXPECT_EQ(cellValue(unsized, u"Size"_s), QVariant(u"?"_s));
}

TEST(CellValueTest, FoldersAndPlainFilesHaveIcons)
{
    ListingEntry link = fileEntry(u"a.txt"_s);
    link.type = ListingEntry::linkType;
    ListingEntry untyped = fileEntry(u"a.txt"_s);
    untyped.type.reset();
    ListingEntry unnamed = fileEntry(QString());

    EXPECT_EQ(cellValue(folderEntry(u"a.txt"_s), u"Type"_s).value<QIcon>().cacheKey(), FileIcons::folder().cacheKey());
    EXPECT_EQ(cellValue(fileEntry(u"a.txt"_s), u"Type"_s).value<QIcon>().cacheKey(),
              FileIcons::ofFileNamed(u"b.txt"_s).cacheKey());
    EXPECT_FALSE(cellValue(link, u"Type"_s).isValid());
    EXPECT_FALSE(cellValue(untyped, u"Type"_s).isValid());
    EXPECT_FALSE(cellValue(unnamed, u"Type"_s).isValid());
}

TEST(CellValueTest, TheDateIsShort)
{
    ListingEntry entry = fileEntry(u"a"_s);
    EXPECT_EQ(cellValue(entry, u"Date"_s), QVariant(u""_s));

    const QDateTime moment(QDate(2024, 1, 9), QTime(15, 4, 5));
    entry.modDate = moment.toMSecsSinceEpoch();
    EXPECT_EQ(cellValue(entry, u"Date"_s), QVariant(shortDateShortTimeText(moment)));
}

TEST(CellValueTest, TheModeTakesTheTypeIntoAccount)
{
    ListingEntry entry = folderEntry(u"a"_s);
    EXPECT_EQ(cellValue(entry, u"Mode"_s), QVariant(u"drwxr-xr-x "_s));
    entry.type.reset();
    EXPECT_EQ(cellValue(entry, u"Mode"_s), QVariant(u"?rwxr-xr-x "_s));
    entry.mode.reset();
    EXPECT_EQ(cellValue(entry, u"Mode"_s), QVariant(u"???????????"_s));
}

TEST(CellValueTest, OtherColumnsShowNothing)
{
    EXPECT_FALSE(cellValue(fileEntry(u"a"_s), u"name"_s).isValid());
    EXPECT_FALSE(cellValue(fileEntry(u"a"_s), u"Owner"_s).isValid());
}

} // namespace
