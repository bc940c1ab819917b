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

} // namespace
