#include "PathText.h"

#include "CheckRows.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(PathTextTest, LastComponentIsWhatFollowsTheLastSlash)
{
    checkRows<QString(QString)>(
        {
            { u"/dir/scratch.tiff"_s, u"scratch.tiff"_s },
            { u"/dir/"_s, u"dir"_s },
            { u"scratch///"_s, u"scratch"_s },
            { u"scratch"_s, u"scratch"_s },
            { u"/scratch"_s, u"scratch"_s },
            { u"/"_s, u"/"_s },
            { u"///"_s, u"/"_s },
            { u""_s, u""_s },
            { QString(), QString() },
        },
        PathText::lastPathComponent);
}

TEST(PathTextTest, DeletingTheExtensionTakesTheLastOneOnly)
{
    checkRows<QString(QString)>(
        {
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
        },
        PathText::deletingPathExtension);
}

TEST(PathTextTest, AppendingPutsOneSlashBetween)
{
    checkRows<QString(QString, QString)>(
        {
            { u"/dir"_s, u"a.tiff"_s, u"/dir/a.tiff"_s },
            { u"/dir/"_s, u"a.tiff"_s, u"/dir/a.tiff"_s },
            { u"/dir//"_s, u"a.tiff"_s, u"/dir/a.tiff"_s },
            { u"/"_s, u"a.tiff"_s, u"/a.tiff"_s },
            { u""_s, u"a.tiff"_s, u"a.tiff"_s },
            { u"/dir"_s, u"/a/b/"_s, u"/dir/a/b"_s },
            { u"/dir/"_s, u""_s, u"/dir/"_s },
            { u"/dir"_s, QString(), u"/dir"_s },
            { QString(), u"a"_s, QString() },
        },
        PathText::appendingPathComponent);
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

TEST(PathTextTest, AShortenedNameKeepsItsExtensionAndWholeCharacters)
{
    checkRows<QString(QString, qsizetype)>(
        {
            { "fits", u"abcdef.txt"_s, 10, u"abcdef.txt"_s },
            { "fits in bytes", u"\u6587\u4ef6"_s, 6, u"\u6587\u4ef6"_s },
            { "empty", u""_s, 10, u""_s },
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
        },
        PathText::shortenedFileName);
}

TEST(PathTextTest, InALocalNameNothingActsUnseen)
{
    const QString shownOverride = u"\u27e8U+202E\u27e9"_s;
    checkRows<QString(QString, qsizetype)>(
        {
            { "nothing to show", u"a b.\u6587 \u05d0"_s, 0, u"a b.\u6587 \u05d0"_s },
            { "right to left", u"ann\u202efdp.exe"_s, 0, u"ann"_s + shownOverride + u"fdp.exe"_s },
            { "embeddings and overrides", u"\u202a\u202b\u202c\u202d"_s, 0,
              u"\u27e8U+202A\u27e9\u27e8U+202B\u27e9\u27e8U+202C\u27e9\u27e8U+202D\u27e9"_s },
            { "isolates", u"\u2066\u2067\u2068\u2069"_s, 0,
              u"\u27e8U+2066\u27e9\u27e8U+2067\u27e9\u27e8U+2068\u27e9\u27e8U+2069\u27e9"_s },
            { "marks", u"\u200e\u200f\u061c"_s, 0, u"\u27e8U+200E\u27e9\u27e8U+200F\u27e9\u27e8U+061C\u27e9"_s },
            { "controls", u"\u001b[31m\r\n\t\u007f\u0085"_s, 0,
              u"\u241b[31m\u240d\u240a\u2409\u2421\u27e8U+0085\u27e9"_s },
            { "joiners", u"\u0915\u094d\u200d\u0937"_s, 0, u"\u0915\u094d\u200d\u0937"_s },
            { "too long when shown", QString(240, u'n') + u"\u202e.txt"_s, 0,
              QString(240, u'n') + shownOverride.left(7) + u".txt"_s },
            { "too long with something before it", QString(250, u'n') + u".txt"_s, 37, QString(214, u'n') + u".txt"_s },
        },
        PathText::localFileName);
}

} // namespace
