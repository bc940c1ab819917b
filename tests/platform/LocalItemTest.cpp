#include "LocalItem.h"

#include "FileOfBytes.h"
#include "LocalPath.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <climits>

using namespace Qt::StringLiterals;

namespace {

TEST(LocalItemTest, FindsWhatIsThereWhateverItsBytes)
{
    const QTemporaryDir folder;
    const FileOfBytes file(folder.path(), "caf\xe9.txt", "12345");
    const auto item = LocalItem::at(LocalPath::fromBytes(file.path()));

    ASSERT_TRUE(item);
    EXPECT_FALSE(item->isFolder);
    EXPECT_EQ(item->size, 5);
    ASSERT_TRUE(LocalItem::at(folder.path()));
    EXPECT_TRUE(LocalItem::at(folder.path())->isFolder);
}

TEST(LocalItemTest, FollowsLinks)
{
    const QTemporaryDir folder;
    QFile::link(u"/"_s, folder.filePath(u"to-folder"_s));
    QFile::link(u"/nowhere"_s, folder.filePath(u"to-nothing"_s));

    ASSERT_TRUE(LocalItem::at(folder.filePath(u"to-folder"_s)));
    EXPECT_TRUE(LocalItem::at(folder.filePath(u"to-folder"_s))->isFolder);
    EXPECT_FALSE(LocalItem::at(folder.filePath(u"to-nothing"_s)));
}

TEST(LocalItemTest, OnlyWhatIsKnownNotToBeThereIsMissing)
{
    const QTemporaryDir folder;
    const FileOfBytes file(folder.path(), "file", "12345");
    QFile::link(u"/nowhere"_s, folder.filePath(u"to-nothing"_s));
    QFile::link(folder.filePath(u"loop"_s), folder.filePath(u"loop"_s));

    for (const QString& name : { u"gone"_s, u"gone/file"_s, u"file/inside"_s, u"to-nothing"_s }) {
        EXPECT_TRUE(LocalItem::isMissing(folder.filePath(name))) << name.toStdString();
    }
    EXPECT_TRUE(LocalItem::isMissing({}));
    EXPECT_TRUE(LocalItem::isMissing(u"/"_s + QChar::Null));
    EXPECT_FALSE(LocalItem::isMissing(folder.filePath(u"file"_s)));
    // Nobody can look at these, whatever is allowed.
    EXPECT_FALSE(LocalItem::isMissing(folder.filePath(u"loop"_s)));
    EXPECT_FALSE(LocalItem::isMissing(u"/long"_s.repeated(PATH_MAX)));
}

TEST(LocalItemTest, TellsWhereALinkLeads)
{
    const QTemporaryDir folder;
    const FileOfBytes file(folder.path(), "file", "12345");
    QFile::link(u"/nowhere"_s, folder.filePath(u"link"_s));

    EXPECT_EQ(LocalItem::linkTarget(folder.filePath(u"link"_s)), u"/nowhere"_s);
    EXPECT_TRUE(LocalItem::linkTarget(LocalPath::fromBytes(file.path())).isNull());
    EXPECT_TRUE(LocalItem::linkTarget(folder.path()).isNull());
    EXPECT_TRUE(LocalItem::linkTarget(folder.filePath(u"gone"_s)).isNull());
    EXPECT_TRUE(LocalItem::linkTarget(folder.filePath(u"link"_s) + QChar::Null).isNull());
}

TEST(LocalItemTest, NoOtherItemIsTakenForWhatCannotBe)
{
    EXPECT_FALSE(LocalItem::at({}));
    EXPECT_FALSE(LocalItem::at(u""_s));
    EXPECT_FALSE(LocalItem::at(u"/"_s + QChar::Null));
    EXPECT_FALSE(LocalItem::at(u"/"_s + QChar(0xd800)));
}

} // namespace
