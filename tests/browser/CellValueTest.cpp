#include "CellValue.h"

#include "CheckRows.h"
#include "DateText.h"
#include "Entries.h"
#include "FileIcons.h"

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
    checkRows<QString(std::optional<int>, std::optional<qint64>)>(
        {
            { "plain file", ListingEntry::plainFileType, 1'234'567, u"1.2 MB"_s },
            { "empty plain file", ListingEntry::plainFileType, 0, u"Zero KB"_s },
            { "plain file of unknown size", ListingEntry::plainFileType, std::nullopt, u"?"_s },
            { "folder", ListingEntry::folderType, 4096, u"-"_s },
            { "folder of unknown size", ListingEntry::folderType, std::nullopt, u"?"_s },
            { "link", ListingEntry::linkType, 5, u"-"_s },
            { "no type", std::nullopt, 5, u"-"_s },
        },
        [](std::optional<int> type, std::optional<qint64> size) {
            ListingEntry entry = fileEntry(u"a"_s);
            entry.type = type;
            entry.size = size;
            return cellValue(entry, u"Size"_s).toString();
        });
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
    checkRows<QString(std::optional<int>, std::optional<int>)>(
        {
            { "folder", ListingEntry::folderType, 493, u"drwxr-xr-x "_s },
            { "no type", std::nullopt, 0755, u"?rwxr-xr-x "_s },
            { "no mode", ListingEntry::folderType, std::nullopt, u"???????????"_s },
        },
        [](std::optional<int> type, std::optional<int> mode) {
            ListingEntry entry = fileEntry(u"a"_s);
            entry.type = type;
            entry.mode = mode;
            return cellValue(entry, u"Mode"_s).toString();
        });
}

TEST(CellValueTest, OtherColumnsShowNothing)
{
    EXPECT_FALSE(cellValue(fileEntry(u"a"_s), u"name"_s).isValid());
    EXPECT_FALSE(cellValue(fileEntry(u"a"_s), u"Owner"_s).isValid());
}

} // namespace
