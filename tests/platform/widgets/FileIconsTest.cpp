#include "FileIcons.h"

#include "Printers.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(FileIconsTest, EachNameHasAnIcon)
{
    EXPECT_FALSE(FileIcons::folder().pixmap(20).isNull());
    for (const QString& name : { u"a.txt"_s, u"a.no-such-kind"_s, u"noextension"_s, u""_s, u"/"_s, u".hidden"_s }) {
        EXPECT_FALSE(FileIcons::ofFileNamed(name).pixmap(20).isNull()) << name.toStdString();
    }
}

TEST(FileIconsTest, AnExtensionIsLookedUpOnce)
{
    EXPECT_EQ(FileIcons::ofFileNamed(u"a.png"_s).cacheKey(), FileIcons::ofFileNamed(u"b.png"_s).cacheKey());
}

TEST(FileIconsTest, ManyExtensionsAreNotKept)
{
    for (int i = 0; i < 3000; ++i) {
        ASSERT_FALSE(FileIcons::ofFileNamed(u"a.x%1"_s.arg(i)).isNull());
    }
}

TEST(FileIconsTest, ADotAtTheBeginningStartsNoExtension)
{
    EXPECT_EQ(FileIcons::ofFileNamed(u".png"_s).cacheKey(), FileIcons::ofFileNamed(u"noextension"_s).cacheKey());
    EXPECT_EQ(FileIcons::kindOfFileNamed(u".png"_s), FileIcons::kindOfFileNamed(u"noextension"_s));
}

TEST(FileIconsTest, AVeryLongExtensionCountsAsNone)
{
    EXPECT_EQ(FileIcons::ofFileNamed(u"a."_s + QString(100, u'x')).cacheKey(),
              FileIcons::ofFileNamed(u"noextension"_s).cacheKey());
}

TEST(FileIconsTest, TheKindFollowsTheExtension)
{
    EXPECT_EQ(FileIcons::kindOfFileNamed(u"a.png"_s), FileIcons::kindOfFileNamed(u"other name.png"_s));
    EXPECT_NE(FileIcons::kindOfFileNamed(u"a.png"_s), FileIcons::kindOfFileNamed(u"a.txt"_s));
}

} // namespace
