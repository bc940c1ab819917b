#include "TreePath.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(TreePathTest, WhatTheServerKeepsBeginsBehindTheMark)
{
    const QString file = QString::fromUtf8(TreePath::ofFolder("/home/anna", "Photos")) + u"2020/a.jpg"_s;

    EXPECT_EQ(file, u"/home/anna/.//./Photos/2020/a.jpg"_s);
    EXPECT_EQ(TreePath::relative(file), u"Photos/2020/a.jpg"_s);
    EXPECT_EQ(TreePath::shown(file), u"Photos/2020/a.jpg"_s);
    EXPECT_EQ(TreePath::below(file), u"Photos/2020/a.jpg"_s);
    EXPECT_EQ(TreePath::folder(file), u"Photos/2020"_s);
    EXPECT_EQ(TreePath::levels(file), 2);
    EXPECT_FALSE(TreePath::isFolder(file));
    EXPECT_EQ(TreePath::plain(file), u"/home/anna/Photos/2020/a.jpg"_s);
}

TEST(TreePathTest, AFolderEndsInASlashAndCountsAmongItsLevels)
{
    const QString inner = u"/home/.//./Photos/empty/"_s;
    EXPECT_TRUE(TreePath::isFolder(inner));
    EXPECT_EQ(TreePath::folder(inner), u"Photos"_s);
    EXPECT_EQ(TreePath::levels(inner), 2);

    const QString dropped = u"/.//./srv/"_s;
    EXPECT_TRUE(TreePath::isFolder(dropped));
    EXPECT_TRUE(TreePath::folder(dropped).isNull());
    EXPECT_EQ(TreePath::levels(dropped), 1);
}

TEST(TreePathTest, AFolderThatCouldNotBeReadIsAFolderThatIsNotMade)
{
    const QByteArray folder = TreePath::ofFolder("/home", "Photos") + "secret/";
    const QString path = QString::fromUtf8(TreePath::ofUnread(folder));

    EXPECT_TRUE(TreePath::isUnread(path));
    EXPECT_TRUE(TreePath::isFolder(path));
    EXPECT_EQ(TreePath::relative(path), u"Photos/secret"_s);
    EXPECT_EQ(TreePath::shown(path), u"Photos/secret"_s);
    EXPECT_EQ(TreePath::folder(path), u"Photos"_s);
    EXPECT_EQ(TreePath::plain(path), u"/home/Photos/secret"_s);
    EXPECT_TRUE(TreePath::isUnread(QString::fromUtf8(TreePath::ofUnread(TreePath::ofFolder("", "srv")))));

    EXPECT_FALSE(TreePath::isUnread(QString::fromUtf8(folder)));
    EXPECT_FALSE(TreePath::isUnread(u"/home//"_s)); // Somebody has written that.
    EXPECT_EQ(TreePath::plain(u"/home//"_s), u"/home//"_s);
}

TEST(TreePathTest, APlainPathGoesIntoTheDestinationItself)
{
    const QString path = u"/home/anna/a.jpg"_s;
    EXPECT_TRUE(TreePath::relative(path).isNull());
    EXPECT_EQ(TreePath::shown(path), path);
    EXPECT_EQ(TreePath::below(path), u"a.jpg"_s);
    EXPECT_TRUE(TreePath::folder(path).isNull());
    EXPECT_EQ(TreePath::levels(path), 0);
    EXPECT_EQ(TreePath::plain(path), path);
    EXPECT_FALSE(TreePath::isFolder(u"/home/anna/"_s));
}

TEST(TreePathTest, APlainPathIsLeftToTheLetterUnlessItHoldsTheMark)
{
    for (const QString& path : { u"/./home/././a"_s, u"/home/.//a"_s, u"//home/./a/."_s }) {
        EXPECT_TRUE(TreePath::relative(path).isNull()) << path.toStdString();
        EXPECT_EQ(TreePath::plain(path), path);
    }
    EXPECT_EQ(TreePath::plain(u"/.//./home/.//././/./a"_s), u"/home/a"_s);
}

TEST(TreePathTest, WhereItLiesIsAMatterOfThePartThatTheServerKeeps)
{
    const QString file = u"/home/.//./a/b/f"_s;
    EXPECT_TRUE(TreePath::liesIn(file, u"a/b/"_s));
    EXPECT_TRUE(TreePath::liesIn(file, u"a/"_s));
    EXPECT_TRUE(TreePath::liesIn(u"/srv/.//./a/b/"_s, u"a/b/"_s));
    EXPECT_FALSE(TreePath::liesIn(file, u"b/"_s));
    EXPECT_TRUE(TreePath::liesIn(file, u""_s));
    EXPECT_FALSE(TreePath::liesIn(u"/a/b/f"_s, u"a/"_s));
    EXPECT_FALSE(TreePath::liesIn(u"/a/b/f"_s, u""_s));
}

TEST(TreePathTest, FoldersAreTakenOffFromTheEnd)
{
    const QString file = u"/home/.//./a/b/f"_s;
    EXPECT_EQ(TreePath::withoutLevels(file, 0), u"/home/.//./a/b/"_s);
    EXPECT_EQ(TreePath::withoutLevels(file, 1), u"/home/.//./a/"_s);
    EXPECT_EQ(TreePath::withoutLevels(file, 2), u"/home/.//./"_s);
    EXPECT_EQ(TreePath::withoutLevels(u"/home/.//./a/e/"_s, 0), u"/home/.//./a/e/"_s);
}

} // namespace
