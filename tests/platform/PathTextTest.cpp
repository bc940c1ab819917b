#include "PathText.h"

#include "Printers.h"

#include <gtest/gtest.h>

#include <vector>

using namespace Qt::StringLiterals;

namespace {

struct Row {
    QString path;
    QString expected;
};

TEST(PathTextTest, LastComponentIsWhatFollowsTheLastSlash)
{
    const std::vector<Row> rows{
        { u"/dir/scratch.tiff"_s, u"scratch.tiff"_s },
        { u"/dir/"_s, u"dir"_s },
        { u"scratch///"_s, u"scratch"_s },
        { u"scratch"_s, u"scratch"_s },
        { u"/scratch"_s, u"scratch"_s },
        { u"/"_s, u"/"_s },
        { u"///"_s, u"/"_s },
        { u""_s, u""_s },
    };
    for (const Row& row : rows) {
        EXPECT_EQ(PathText::lastPathComponent(row.path), row.expected) << row.path.toStdString();
    }
    EXPECT_TRUE(PathText::lastPathComponent(QString()).isNull());
}

TEST(PathTextTest, DeletingTheExtensionTakesTheLastOneOnly)
{
    const std::vector<Row> rows{
        { u"/dir/scratch.tiff"_s, u"/dir/scratch"_s },
        { u"/dir/"_s, u"/dir"_s },
        { u"scratch.bundle/"_s, u"scratch"_s },
        { u"scratch..tiff"_s, u"scratch."_s },
        { u".tiff"_s, u".tiff"_s },
        { u"/dir/.tiff"_s, u"/dir/.tiff"_s },
        { u"/dir.d/scratch"_s, u"/dir.d/scratch"_s },
        { u"Scans.v2.app"_s, u"Scans.v2"_s },
        { u"/"_s, u"/"_s },
        { u""_s, u""_s },
    };
    for (const Row& row : rows) {
        EXPECT_EQ(PathText::deletingPathExtension(row.path), row.expected) << row.path.toStdString();
    }
}

TEST(PathTextTest, AppendingPutsOneSlashBetween)
{
    const QString file = u"scratch.tiff"_s;
    const std::vector<Row> rows{
        { u"/dir"_s, u"/dir/scratch.tiff"_s },
        { u"/dir/"_s, u"/dir/scratch.tiff"_s },
        { u"/dir//"_s, u"/dir/scratch.tiff"_s },
        { u"/"_s, u"/scratch.tiff"_s },
        { u""_s, u"scratch.tiff"_s },
    };
    for (const Row& row : rows) {
        EXPECT_EQ(PathText::appendingPathComponent(row.path, file), row.expected) << row.path.toStdString();
    }
    EXPECT_EQ(PathText::appendingPathComponent(u"/dir"_s, u"/a/b/"_s), u"/dir/a/b"_s);
}

TEST(PathTextTest, AppendingNothingChangesNothing)
{
    EXPECT_EQ(PathText::appendingPathComponent(u"/dir/"_s, u""_s), u"/dir/"_s);
    EXPECT_EQ(PathText::appendingPathComponent(u"/dir"_s, QString()), u"/dir"_s);
}

TEST(PathTextTest, AppendingToNoPathGivesNoPath)
{
    EXPECT_TRUE(PathText::appendingPathComponent(QString(), u"a"_s).isNull());
}

TEST(PathTextTest, AFileNameStaysInItsFolder)
{
    for (const QString& name : { u"a"_s, u".a"_s, u"..."_s, u"..a"_s, u" "_s, u"~"_s, u"a\\b"_s, u"\u6587"_s }) {
        EXPECT_TRUE(PathText::isFileName(name)) << name.toStdString();
    }
    for (const QString& name :
         { QString(), u""_s, u"."_s, u".."_s, u"/"_s, u"/etc/x"_s, u"../x"_s, u"a/b"_s, u"a/"_s, u"a\0b"_s, u"\0"_s }) {
        EXPECT_FALSE(PathText::isFileName(name)) << name.toStdString();
    }
}

TEST(PathTextTest, ANameThatFitsIsNotShortened)
{
    EXPECT_EQ(PathText::shortenedFileName(u"abcdef.txt"_s, 10), u"abcdef.txt"_s);
    EXPECT_EQ(PathText::shortenedFileName(u"\u6587\u4ef6"_s, 6), u"\u6587\u4ef6"_s);
    EXPECT_EQ(PathText::shortenedFileName(u""_s, 10), u""_s);
}

TEST(PathTextTest, AShortenedNameKeepsItsExtensionAndWholeCharacters)
{
    struct ShortenedRow {
        const char* why;
        QString name;
        qsizetype bytes;
        QString expected;
    };
    const std::vector<ShortenedRow> rows{
        { "one byte too many", u"abcdefg.txt"_s, 10, u"abcdef.txt"_s },
        { "no extension", u"abcdefghijk"_s, 10, u"abcdefghij"_s },
        { "last extension only", u"abcdef.tar.gz"_s, 10, u"abcdef..gz"_s },
        { "dot at the beginning", u".abcdefghijk"_s, 10, u".abcdefghi"_s },
        { "dot at the end", u"abcdefghijk."_s, 10, u"abcdefghi."_s },
        { "extension of half the room", u"abcdefgh.txts"_s, 10, u"abcde.txts"_s },
        { "longer than an extension", u"1. Introduction"_s, 10, u"1. Introdu"_s },
        { "characters of three bytes", u"\u6587\u4ef6\u6587\u4ef6.txt"_s, 12, u"\u6587\u4ef6.txt"_s },
        { "characters of two units", u"\U0001F600\U0001F600.txt"_s, 11, u"\U0001F600.txt"_s },
        { "letter with its accent", u"abe\u0301.txt"_s, 8, u"ab.txt"_s },
        { "nothing fits", u"\U0001F600\U0001F600"_s, 3, u""_s },
    };
    for (const ShortenedRow& row : rows) {
        EXPECT_EQ(PathText::shortenedFileName(row.name, row.bytes), row.expected) << row.why;
    }
}

} // namespace
