#include "LocalPath.h"

#include "Printers.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(LocalPathTest, PathsInUtf8AreTheirText)
{
    for (const QString& path : { u""_s, u"/a b/é%41"_s, u"/\U0001F600/e\u0301"_s, u"\ufeffname"_s, u"a\ufffe"_s }) {
        EXPECT_EQ(LocalPath::toBytes(path), path.toUtf8());
        EXPECT_EQ(LocalPath::fromBytes(path.toUtf8()), path);
    }
    EXPECT_TRUE(LocalPath::fromBytes({}).isNull());
    EXPECT_TRUE(LocalPath::toBytes({}).isNull());
}

TEST(LocalPathTest, BytesThatAreNotUtf8StandAsHalvesOfSurrogatePairs)
{
    EXPECT_EQ(LocalPath::fromBytes("caf\xe9.txt"), QString(u"caf"_s + QChar(0xdce9) + u".txt"_s));
    EXPECT_EQ(LocalPath::fromBytes("\xef\xbb\xbf\xc3\xa9\x80"), QString(u"\ufeffé"_s + QChar(0xdc80)));
}

TEST(LocalPathTest, EveryPathOfTheSystemComesBackUnchanged)
{
    QByteArray all;
    for (int byte = 1; byte < 256; ++byte) {
        all += static_cast<char>(byte);
    }
    // All bytes, halves of surrogate pairs, what is written longer than it must be or ends too early, beyond Unicode.
    for (const QByteArray& path :
         { all, "\xed\xa0\x80\xed\xb0\x80"_ba, "\xc0\xaf\xe0\x80\xaf"_ba, "\xf0\x9f\x98"_ba, "\xf0\x9f\x98/\xc3"_ba,
           "\xf4\x90\x80\x80\xf8\x88\x80\x80\x80"_ba, "\xf0\x9f\x98\x80\xff\xf0\x9f\x98\x80"_ba }) {
        EXPECT_EQ(LocalPath::toBytes(LocalPath::fromBytes(path)), path) << path.toHex(' ').constData();
    }
}

TEST(LocalPathTest, AnyOtherHalfOfASurrogatePairStandsForNoByte)
{
    for (const char16_t half : u"\xd800\xdbff\xdc00\xdc7f\xdd00\xdfff"_s.toStdU16String()) {
        EXPECT_TRUE(LocalPath::toBytes(u"/a"_s + QChar(half) + u'b').isNull()) << int(half);
    }
}

} // namespace
