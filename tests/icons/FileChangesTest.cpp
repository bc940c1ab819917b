#include "FileChanges.h"

#include "Descriptor.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

class FileChangesTest : public ::testing::Test {
protected:
    static constexpr QFile::Permissions readable = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup;

    QString path(const QString& name) const { return m_folder.filePath(name); }

    void put(const QString& name, const QByteArray& content, QFile::Permissions permissions) const
    {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        ASSERT_TRUE(file.setPermissions(permissions));
    }

    /// The file's content and its mode.
    struct Seen {
        QByteArray content;
        mode_t mode = 0;
        bool operator==(const Seen&) const = default;
    };
    Seen seen(const QString& name) const
    {
        QFile file(path(name));
        struct stat status { };
        const bool isThere = ::stat(QFile::encodeName(path(name)).constData(), &status) == 0;
        return { file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray(), isThere ? status.st_mode & 07777 : 0 };
    }

    QStringList names() const
    {
        return QDir(m_folder.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System);
    }

    QTemporaryDir m_folder;
};

TEST_F(FileChangesTest, WhatIsNotKeptIsUndone)
{
    put(u"private"_s, "login", FileChanges::ownersAlone);
    put(u"launcher"_s, "old", readable);
    put(u"picture"_s, "drawn", readable);
    ASSERT_TRUE(QFile::link(u"/elsewhere"_s, path(u"link"_s)));
    {
        FileChanges changes;
        ASSERT_TRUE(changes.write(path(u"private"_s), "another", FileChanges::ownersAlone, true));
        ASSERT_TRUE(changes.write(path(u"launcher"_s), "new", readable, true));
        ASSERT_TRUE(changes.remove(path(u"picture"_s)));
        ASSERT_TRUE(changes.link(path(u"link"_s), u"/here"_s, true));
        ASSERT_TRUE(changes.write(path(u"added"_s), "added", readable, false));
        ASSERT_TRUE(changes.link(path(u"added link"_s), u"/here"_s, false));
    }
    EXPECT_EQ(seen(u"private"_s), (Seen{ "login", 0600 }));
    EXPECT_EQ(seen(u"launcher"_s), (Seen{ "old", 0640 }));
    EXPECT_EQ(seen(u"picture"_s), (Seen{ "drawn", 0640 }));
    EXPECT_EQ(QFileInfo(path(u"link"_s)).symLinkTarget(), u"/elsewhere"_s);
    EXPECT_EQ(names(), (QStringList{ u"launcher"_s, u"link"_s, u"picture"_s, u"private"_s }));
}

TEST_F(FileChangesTest, WhatIsTheOwnersAloneIsNeverAwayWhileItIsChangedAndChangedBack)
{
    put(u"private"_s, "login", FileChanges::ownersAlone);
    const Descriptor watch(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    ASSERT_GE(
        ::inotify_add_watch(watch.get(), QFile::encodeName(m_folder.path()).constData(), IN_DELETE | IN_MOVED_FROM), 0);
    {
        FileChanges changes;
        ASSERT_TRUE(changes.write(path(u"private"_s), "another", FileChanges::ownersAlone, true));
    }
    EXPECT_EQ(seen(u"private"_s).content, "login");
    std::array<char, 4096> events{};
    const ssize_t length = ::read(watch.get(), events.data(), events.size());
    const QByteArrayView told(events.data(), std::max<ssize_t>(length, 0));
    EXPECT_TRUE(told.contains(".private.unfinished")) << "Nothing was watched.";
    EXPECT_FALSE(told.contains(QByteArrayView("\0private\0", 9)));
}

TEST_F(FileChangesTest, WhatIsThereStaysWhereNothingIsToBeReplaced)
{
    put(u"other's"_s, "other's", readable);
    ASSERT_TRUE(QFile::link(u"/elsewhere"_s, path(u"other's link"_s)));
    {
        FileChanges changes;
        EXPECT_FALSE(changes.write(path(u"other's"_s), "mine", readable, false));
        EXPECT_FALSE(changes.link(path(u"other's link"_s), u"/here"_s, false));
    }
    EXPECT_EQ(seen(u"other's"_s).content, "other's");
    EXPECT_EQ(QFileInfo(path(u"other's link"_s)).symLinkTarget(), u"/elsewhere"_s);
}

TEST_F(FileChangesTest, WhatCannotBeReadIsRemovedButNotReplaced)
{
    ASSERT_EQ(::mkfifo(QFile::encodeName(path(u"pipe"_s)).constData(), 0600), 0);
    FileChanges changes;

    EXPECT_FALSE(changes.write(path(u"pipe"_s), "new", FileChanges::ownersAlone, true));
    EXPECT_FALSE(changes.write(path(u"pipe"_s), "new", readable, true));
    EXPECT_TRUE(FileChanges::isTaken(path(u"pipe"_s)));
    EXPECT_TRUE(changes.remove(path(u"pipe"_s)));
    EXPECT_FALSE(FileChanges::isTaken(path(u"pipe"_s)));
}

TEST_F(FileChangesTest, WhatWasNotTheOwnersAloneBeforeIsUndoneToo)
{
    put(u"private"_s, "login", FileChanges::ownersAlone | QFile::ReadOther);
    {
        FileChanges changes;
        ASSERT_TRUE(changes.write(path(u"private"_s), "another", FileChanges::ownersAlone, true));
    }
    EXPECT_EQ(seen(u"private"_s), (Seen{ "login", 0600 }));
}

TEST_F(FileChangesTest, WhatIsSoAlreadyStaysTheSameFile)
{
    put(u"launcher"_s, "same", readable);
    const QDateTime longAgo = QDateTime::fromSecsSinceEpoch(1'000'000'000);
    QFile file(path(u"launcher"_s));
    ASSERT_TRUE(file.open(QIODevice::ReadWrite) && file.setFileTime(longAgo, QFile::FileModificationTime));
    const auto isTheSame = [&] { return QFileInfo(path(u"launcher"_s)).lastModified() == longAgo; };
    FileChanges changes;

    EXPECT_TRUE(changes.write(path(u"launcher"_s), "same", readable, true));
    EXPECT_FALSE(changes.write(path(u"launcher"_s), "same", readable, false));
    EXPECT_TRUE(isTheSame());

    EXPECT_TRUE(changes.write(path(u"launcher"_s), "same", FileChanges::ownersAlone | QFile::ExeOwner, true));
    EXPECT_EQ(seen(u"launcher"_s), (Seen{ "same", 0700 }));
    EXPECT_FALSE(isTheSame());
}

} // namespace
