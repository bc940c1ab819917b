#include "URLText.h"

#include "CheckRows.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(URLTextTest, AppendingAComponentEscapesWhatHasNoPlaceInAPath)
{
    checkRows<QString(QString, QString)>(
        {
            { u"ftp://h"_s, u"a"_s, u"ftp://h/a"_s },
            { u"ftp://h"_s, u"/a"_s, u"ftp://h/a"_s },
            { u"ftp://h"_s, u""_s, u"ftp://h/"_s },
            { u"ftp://h"_s, u"a/"_s, u"ftp://h/a/"_s },
            { u"ftp://h/a/"_s, u"b"_s, u"ftp://h/a/b"_s },
            { u"ftp://h/a/"_s, u"/b"_s, u"ftp://h/a//b"_s },
            { u"ftp://h/a"_s, u"b c;d?e#f%g"_s, u"ftp://h/a/b%20c%3Bd%3Fe%23f%25g"_s },
            { u"ftp://h/a/"_s, u""_s, u"ftp://h/a/"_s },
            { u"ftp://h/a"_s, u"b/c"_s, u"ftp://h/a/b/c"_s },
            { u"ftp://h"_s, u"..//."_s, u"ftp://h/..//."_s },
            { u"ftp://h"_s, u"%41"_s, u"ftp://h/%2541"_s },
            { u"ftp://h"_s, u"!$&'()*+,-.:=@_~"_s, u"ftp://h/!$&'()*+,-.:=@_~"_s },
            { u"ftp://h"_s, u"[]\"<>\\^{|}`\t"_s, u"ftp://h/%5B%5D%22%3C%3E%5C%5E%7B%7C%7D%60%09"_s },
            { u"ftp://h"_s, u"\u00e9\u4e2d\U0001F600"_s, u"ftp://h/%C3%A9%E4%B8%AD%F0%9F%98%80"_s },
            { u"ftp://h"_s, u"e\u0301"_s, u"ftp://h/e%CC%81"_s },
            { u"ftp://MyHost:2121"_s, u"a"_s, u"ftp://MyHost:2121/a"_s },
            { u"ftp://[::1]/x"_s, u"a"_s, u"ftp://[::1]/x/a"_s },
            { u"ftp://"_s, u"a"_s, u"ftp:///a"_s },
            { u"ftp://h/a?q"_s, u"b"_s, u"ftp://h/a/b?q"_s },
            { u"ftp://h#f/"_s, u"b"_s, u"ftp://h/b#f/"_s },
            { QString(), u"a"_s, QString() },
        },
        [](const QString& url, const QString& component) { return URLText::appendingPathComponent(url, component); });
}

TEST(URLTextTest, HalfASurrogatePairMakesNoLocation)
{
    const QString half = u"a"_s + QChar(0xd83d) + u"b"_s;

    EXPECT_TRUE(URLText::appendingPathComponent(u"ftp://h"_s, half).isNull());
    EXPECT_TRUE(URLText::addingPercentEscapes(half).isNull());
    EXPECT_FALSE(URLText::isURLText(half));
}

TEST(URLTextTest, NothingAppendedToIsNothing)
{
    EXPECT_TRUE(URLText::addingPercentEscapes(QString()).isNull());
}

TEST(URLTextTest, PercentEscapesLeaveParameterSignsAndNoQuery)
{
    EXPECT_EQ(URLText::addingPercentEscapes(u"my dir/a;b?c#d%20\u00e9"_s), u"my%20dir/a;b%3Fc%23d%2520%C3%A9"_s);
}

TEST(URLTextTest, ReadsAsURLsWhatHoldsOnlyTheirCharacters)
{
    for (const QString& text :
         { u"ftp://h"_s, u"ftp://h:21/a%20b"_s, u"ftp://[::1]/x"_s, u"ftp://h/a#b"_s, u"ftp://h/a;b?c"_s, u"%aF"_s,
           u"ftp://h:/"_s, u"ftp://[::1]:65535"_s, u"ftp://u:p@h/!$&'()*+,-._~="_s }) {
        EXPECT_TRUE(URLText::isURLText(text)) << text.toStdString();
    }
}

TEST(URLTextTest, DoesNotReadAsURLsWhatWouldHaveToBeEscaped)
{
    for (const QString& text :
         { u"ftp://h/a b"_s, u"ftp://h/%"_s, u"ftp://h/%2"_s, u"ftp://h/%zz"_s, u"ftp://h/%2g"_s, u"ftp://h/a#b#c"_s,
           u"ftp://h/\u00e9"_s, u"ftp://h/<"_s, u"ftp://h/\n"_s, u"ftp://h/\\"_s, u""_s }) {
        EXPECT_FALSE(URLText::isURLText(text)) << text.toStdString();
    }
}

TEST(URLTextTest, AnAuthorityWithHalfAnAddressOrWithoutAPortNumberCannotBeRead)
{
    for (const QString& text : { u"ftp://h:abc"_s, u"ftp://h:99999/x"_s, u"ftp://h:-1"_s, u"ftp://[::1"_s,
                                 u"ftp://[::1/x"_s, u"ftp://[::1]x"_s, u"ftp://[::1]:x/"_s, u"ftp://u@h:x"_s }) {
        EXPECT_FALSE(URLText::hasReadableAuthority(text)) << text.toStdString();
    }
    for (const QString& text : { u"ftp://h"_s, u"ftp://h:/"_s, u"ftp://[::1]:65535"_s, u"ftp://u:p@h/a:b"_s, u"h"_s }) {
        EXPECT_TRUE(URLText::hasReadableAuthority(text)) << text.toStdString();
    }
}

TEST(URLTextTest, LastComponentIsUnescaped)
{
    checkRows<QString(QString)>(
        {
            { u"ftp://h/a/b.txt"_s, u"b.txt"_s },
            { u"ftp://h/a/b.txt/"_s, u"b.txt"_s },
            { u"ftp://h/a/b%20%C3%A9"_s, u"b \u00e9"_s },
            { u"ftp://h/a%2Fb"_s, u"a/b"_s },
            { u"ftp://h/a?b/c"_s, u"a"_s },
            { u"ftp://h/a#b"_s, u"a"_s },
            { u"ftp://h/"_s, u"/"_s },
            { u"ftp://h"_s, u""_s },
            { u"ftp://h/%2541"_s, u"%41"_s },
            { QString(), QString() },
        },
        URLText::lastPathComponent);
}

TEST(URLTextTest, BytesThatAreNoUTF8AreEscapedOneByOne)
{
    EXPECT_EQ(URLText::appendingPathComponent(u"ftp://host/in"_s, "caf\xE9 %"_ba), u"ftp://host/in/caf%E9%20%25"_s);
    EXPECT_TRUE(URLText::appendingPathComponent(u"ftp://host"_s, QByteArray()).isNull());
}

TEST(URLTextTest, PeopleReadWhatEscapesStandForUnlessThatWouldHideSomething)
{
    checkRows<QString(QString)>(
        {
            { QString(), QString() },
            { u"ftp://h:21/a%20b/%C3%89t%C3%A9/"_s, u"ftp://h:21/a b/Été/"_s },
            { u"ftp://h/100%25%3F%23/"_s, u"ftp://h/100%?#/"_s },
            { u"ftp://h/a%2520b/"_s, u"ftp://h/a%20b/"_s },
            { u"ftp://h/%F0%9F%98%80%E2%80%8D/"_s, u"ftp://h/\U0001F600\u200d/"_s },
            { "no UTF-8", u"ftp://h/a%20%E9/"_s, u"ftp://h/a%20%E9/"_s },
            { "a control character", u"ftp://h/a%20%0A/"_s, u"ftp://h/a%20%0A/"_s },
            { "turns the direction of writing", u"ftp://h/a%20%E2%80%AE/"_s, u"ftp://h/a%20%E2%80%AE/"_s },
            { "would look like two folders", u"ftp://h/a%20%2Fb/"_s, u"ftp://h/a%20%2Fb/"_s },
        },
        URLText::readable);
}

} // namespace
