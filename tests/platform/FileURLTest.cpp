#include "FileURL.h"

#include "LocalPath.h"
#include "Printers.h"

#include <QSysInfo>
#include <QUrl>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(FileURLTest, NamesAFileOfThisMachineHoweverTheMachineIsSpelled)
{
    EXPECT_EQ(localPath(QUrl(u"file:///a%20b/%C3%A9%2541"_s)), u"/a b/é%41"_s);
    EXPECT_EQ(localPath(QUrl(u"file:/a"_s)), u"/a"_s);
    EXPECT_EQ(localPath(QUrl(u"file://localhost/a"_s)), u"/a"_s);
    EXPECT_EQ(localPath(QUrl(u"file://"_s + QSysInfo::machineHostName() + u"/a"_s)), u"/a"_s);
}

TEST(FileURLTest, BytesThatAreNotUtf8StayWhatTheyAre)
{
    EXPECT_EQ(LocalPath::toBytes(localPath(QUrl(u"file:///d%FF/caf%E9%C3%A9%2541?x#y"_s))), "/d\xff/caf\xe9é%41"_ba);
    EXPECT_EQ(localPath(QUrl(u"file:///50%/%zz"_s)), u"/50%/%zz"_s);
}

TEST(FileURLTest, AURIInAListIsReadLikeAnyOther)
{
    for (const char* const uri : { "file:///a",
                                   "file:///",
                                   "file:///a%20b/%C3%A9%2541",
                                   "file:///d%FF/caf%e9",
                                   "file:///a/../b/./c//d",
                                   "file:////a",
                                   "file:///a?x#y",
                                   "file:///a%3Fx%23y",
                                   "file:///50%/%zz",
                                   "file:///a%2",
                                   "file:///a%2Fb%00c",
                                   "file:///\xc3\xa9 b",
                                   "file:///a!$&'()*+,;=:@~-._",
                                   "file:///[a]\"<>\\^`{|}",
                                   "file:/a",
                                   "file://localhost/a",
                                   "FILE:///a",
                                   "file://elsewhere.example/a",
                                   "http://host/a",
                                   "/a",
                                   "",
                                   "#" }) {
        EXPECT_EQ(localPath(QByteArray(uri)), localPath(QUrl::fromEncoded(uri))) << uri;
        EXPECT_EQ(localPathBytes(uri), LocalPath::toBytes(localPath(QUrl::fromEncoded(uri)))) << uri;
    }
}

TEST(FileURLTest, TheURIOfAFileLeadsBackToIt)
{
    EXPECT_EQ(fileURI(u"/a b/é%41#;?[].txt"_s), u"file:///a%20b/%C3%A9%2541%23%3B%3F%5B%5D.txt"_s);
    EXPECT_EQ(fileURI(LocalPath::fromBytes("/caf\xe9")), u"file:///caf%E9"_s);

    QByteArray path = "/";
    for (int byte = 1; byte < 256; ++byte) {
        path += static_cast<char>(byte);
    }
    EXPECT_EQ(LocalPath::toBytes(localPath(QUrl(fileURI(LocalPath::fromBytes(path))))), path);
}

TEST(FileURLTest, FilesElsewhereAreNotLocal)
{
    EXPECT_TRUE(localPath(QUrl(u"file://elsewhere.example/a"_s)).isNull());
    EXPECT_TRUE(localPath(QUrl(u"http://localhost/a"_s)).isNull());
    EXPECT_TRUE(localPath(QUrl(u"/a"_s)).isNull());
    EXPECT_TRUE(localPath(QUrl()).isNull());
}

} // namespace
