#include "FileIcons.h"

#include "Printers.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

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

TEST(FileIconsTest, TextsAndUnknownKindsDoNotHaveTheDesktopsWhiteSheet)
{
    const QString before = QIcon::themeName();
    const QTemporaryDir themes;
    ASSERT_TRUE(QDir(themes.path()).mkpath(u"white/16"_s));
    QFile index(themes.filePath(u"white/index.theme"_s));
    ASSERT_TRUE(index.open(QIODevice::WriteOnly));
    index.write("[Icon Theme]\nName=white\nDirectories=16\n[16]\nSize=16\n");
    index.close();
    QImage sheet(16, 16, QImage::Format_RGB32);
    sheet.fill(Qt::white);
    const QStringList sheets{ u"text-x-generic"_s, u"application-x-generic"_s, u"application-octet-stream"_s };
    for (const QString& iconName : sheets) {
        ASSERT_TRUE(sheet.save(themes.filePath(u"white/16/%1.png"_s.arg(iconName))));
    }
    QIcon::setThemeSearchPaths(QIcon::themeSearchPaths() << themes.path());
    QIcon::setThemeName(u"white"_s);
    for (const QString& iconName : sheets) {
        ASSERT_FALSE(QIcon::fromTheme(iconName).isNull()) << iconName.toStdString();
    }

    for (const QString& name : { u"a.diff"_s, u"a.sqlite3"_s, u"a.bin"_s, u"a.unknown-kind"_s }) {
        EXPECT_NE(FileIcons::ofFileNamed(name).pixmap(16).toImage().convertToFormat(sheet.format()), sheet)
            << name.toStdString();
    }
    QIcon::setThemeName(before);
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
