#include "FileURL.h"

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

TEST(FileURLTest, FilesElsewhereAreNotLocal)
{
    EXPECT_TRUE(localPath(QUrl(u"file://elsewhere.example/a"_s)).isNull());
    EXPECT_TRUE(localPath(QUrl(u"http://localhost/a"_s)).isNull());
    EXPECT_TRUE(localPath(QUrl(u"/a"_s)).isNull());
    EXPECT_TRUE(localPath(QUrl()).isNull());
}

} // namespace
