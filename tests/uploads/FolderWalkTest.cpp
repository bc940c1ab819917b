#include "FolderWalk.h"

#include "Descriptor.h"
#include "FaultyFileCalls.h"
#include "FolderWalks.h"
#include "LocalPath.h"
#include "NoThreadLeft.h"
#include "Printers.h"
#include "SmallDisk.h"
#include "TreePath.h"
#include "WaitFor.h"

#include <QDir>
#include <QFile>
#include <QScopeGuard>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <optional>
#include <sys/fsuid.h>
#include <sys/inotify.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

class FolderWalkTest : public ::testing::Test {
protected:
    FolderWalkTest()
    {
        QObject::connect(&m_walks, &FolderWalks::found, &m_walks, [this](const Drop& piece) {
            m_paths.append(piece.paths.toStringList());
            m_leftOut.append(piece.leftOut);
        });
        QObject::connect(&m_walks, &FolderWalks::entered, &m_walks,
                         [this](const QString& name) { m_entered.append(name); });
    }

    QString path(const QString& name) const { return m_folder.path() + u'/' + name; }
    /// What the walk says of the item @p name below the folder of the test.
    QString found(const QString& name) const { return m_folder.path() + TreePath::mark + name; }
    QString makeFile(const QString& name)
    {
        QString file = path(name);
        QDir().mkpath(file.left(file.lastIndexOf(u'/')));
        EXPECT_TRUE(QFile(file).open(QIODevice::WriteOnly));
        return file;
    }
    QString makeFolder(const QString& name)
    {
        EXPECT_TRUE(QDir().mkpath(path(name)));
        return path(name);
    }
    /// Makes a folder with so many files that the first come before what follows is looked at.
    void makePiece(const QString& name)
    {
        for (int i = 0; i < onePiece; ++i) {
            makeFile(name + u'/' + QString::number(i));
        }
    }
    QString link(const QString& name, const QString& target)
    {
        EXPECT_TRUE(QFile::link(target, path(name)));
        return path(name);
    }
    void walk(const QStringList& dropped, const QStringList& leftOut = {})
    {
        m_walks.begin({ dropped, leftOut });
        EXPECT_TRUE(waitFor([this] { return !m_walks.isUnderWay(); }));
    }

    static constexpr int onePiece = 500;

    QTemporaryDir m_folder;
    FolderWalks m_walks;
    QStringList m_paths;
    QStringList m_leftOut;
    QStringList m_entered;
};

TEST_F(FolderWalkTest, EveryFileBelowComesInTheOrderOfNames)
{
    makeFile(u"Photos/b/2"_s);
    makeFile(u"Photos/b/1"_s);
    makeFile(u"Photos/c"_s);
    makeFile(u"Photos/a/deep/er/x"_s);
    makeFile(u"Photos/B"_s);

    walk({ path(u"Photos"_s) });

    EXPECT_EQ(m_paths,
              (QStringList{ found(u"Photos/B"_s), found(u"Photos/a/deep/er/x"_s), found(u"Photos/b/1"_s),
                            found(u"Photos/b/2"_s), found(u"Photos/c"_s) }));
    EXPECT_TRUE(m_leftOut.isEmpty());
}

TEST_F(FolderWalkTest, AFolderWithoutAnyFileComesByItself)
{
    makeFolder(u"Photos/empty"_s);
    makeFolder(u"Photos/only/empty"_s);

    walk({ path(u"Photos"_s) });

    EXPECT_EQ(m_paths, (QStringList{ found(u"Photos/empty/"_s), found(u"Photos/only/empty/"_s) }));
}

TEST_F(FolderWalkTest, LinksToFilesAreFollowedAndLinksToFoldersInsideAreLeftOut)
{
    const QString file = makeFile(u"elsewhere/file"_s);
    makeFolder(u"Photos"_s);
    link(u"Photos/a"_s, file);
    link(u"Photos/b"_s, path(u"elsewhere"_s));
    link(u"Photos/c"_s, u"/nowhere/at/all"_s);

    walk({ path(u"Photos"_s) });

    EXPECT_EQ(m_paths, QStringList{ found(u"Photos/a"_s) });
    m_leftOut.sort();
    EXPECT_EQ(m_leftOut, (QStringList{ path(u"Photos/b"_s), path(u"Photos/c"_s) }));
}

TEST_F(FolderWalkTest, ADroppedLinkToAFolderIsThatFolderUnderTheLinksName)
{
    makeFile(u"elsewhere/sub/file"_s);
    link(u"Link"_s, path(u"elsewhere"_s));

    walk({ path(u"Link"_s) });

    EXPECT_EQ(m_paths, QStringList{ found(u"Link/sub/file"_s) });
}

TEST_F(FolderWalkTest, WhatIsNeitherFileNorFolderIsLeftOutAndItsFolderIsStillMade)
{
    const QString pipe = makeFolder(u"Photos"_s) + u"/pipe"_s;
    ASSERT_EQ(::mkfifo(LocalPath::toBytes(pipe).constData(), 0600), 0);

    walk({ path(u"Photos"_s) });

    EXPECT_EQ(m_paths, QStringList{ found(u"Photos/"_s) });
    EXPECT_EQ(m_leftOut, QStringList{ pipe });
}

TEST_F(FolderWalkTest, AFolderThatCannotBeReadComesAsOne)
{
    makeFile(u"Photos/file"_s);
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{ .rlim_cur = 3, .rlim_max = before.rlim_max };
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0); // Whoever may read everything cannot read it then either.

    walk({ path(u"Photos"_s) });

    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(m_paths, QStringList{ found(u"Photos//"_s) });
}

TEST_F(FolderWalkTest, SoDoesOneThatCannotBeReadToItsEndBesideWhatWasRead)
{
    makeFile(u"Photos/file"_s);
    const FaultyFileCalls calls;
    FaultyFileCalls::failToReadFolders(EIO);

    walk({ path(u"Photos"_s) });

    EXPECT_EQ(m_paths, (QStringList{ found(u"Photos//"_s), found(u"Photos/file"_s) }));
}

TEST_F(FolderWalkTest, AFolderThatHoldsNothingButOneThatCannotBeReadComesAsWell)
{
    const QString level = u'/' + u"x"_s.repeated(250);
    makeFolder(u"tail"_s + level.repeated(9));
    const QString deep = makeFolder(u"Photos"_s + level.repeated(9)) + u"/tail"_s;
    // One path cannot hold them all; the folder is whole again, for the removal, when it has been moved out.
    ASSERT_TRUE(QDir().rename(path(u"tail"_s), deep));
    const auto moveOut = qScopeGuard([this, &deep] { QDir().rename(deep, path(u"tail"_s)); });

    walk({ path(u"Photos"_s) });

    ASSERT_EQ(m_paths.size(), 2);
    EXPECT_GE(m_paths[0].size(), PATH_MAX);
    EXPECT_TRUE(TreePath::isUnread(m_paths[0]));
    EXPECT_EQ(m_paths[1] + level.mid(1) + u"//"_s, m_paths[0]);
}

TEST_F(FolderWalkTest, AFolderThatLiesWithinItselfIsSeenOnce)
{
    const QString photos = makeFolder(u"Photos"_s);
    const SmallDisk disk(photos);
    ASSERT_TRUE(disk.problem().isEmpty()) << disk.problem().toStdString();
    makeFile(u"Photos/file"_s);
    const QByteArray self = LocalPath::toBytes(makeFolder(u"Photos/self"_s));
    ASSERT_EQ(::mount(LocalPath::toBytes(photos).constData(), self.constData(), nullptr, MS_BIND, nullptr), 0);
    // Whatever comes meanwhile: what is removed after the test would not come to an end.
    const auto unmount = qScopeGuard([&self] { ::umount2(self.constData(), MNT_DETACH); });

    walk({ photos });

    EXPECT_EQ(m_paths, QStringList{ found(u"Photos/file"_s) });
    EXPECT_EQ(m_leftOut, QStringList{ path(u"Photos/self"_s) });
}

TEST_F(FolderWalkTest, TheWholeDiskIsLeftOutHoweverItIsWritten)
{
    const QString link = this->link(u"disk"_s, u"/"_s);

    walk({ u"/"_s, u"/tmp/.."_s, u"//."_s, link });

    EXPECT_TRUE(m_paths.isEmpty());
    EXPECT_EQ(m_leftOut, (QStringList{ u"/"_s, u"/tmp/.."_s, u"//."_s, link }));
}

TEST_F(FolderWalkTest, TheNameOfEachDroppedFolderIsToldAndOneThatLiesInAnotherIsWholeToo)
{
    const QString file = makeFile(u"one/Photos/a"_s);
    makeFile(u"two/Photos/b"_s);

    walk({ path(u"one"_s), path(u"one/Photos"_s), file, path(u"two/Photos"_s), u"/"_s });

    EXPECT_EQ(m_entered, (QStringList{ u"one"_s, u"Photos"_s, u"Photos"_s }));
    EXPECT_EQ(m_paths,
              (QStringList{ found(u"one/Photos/a"_s), path(u"one"_s) + TreePath::mark + u"Photos/a"_s, file,
                            path(u"two"_s) + TreePath::mark + u"Photos/b"_s }));
}

TEST_F(FolderWalkTest, APathThatTheSystemWouldCutIsNotTakenForAnother)
{
    makeFile(u"Photos/a"_s);
    const QString odd = path(u"Photos"_s) + QChar(QChar::Null) + u"x"_s;

    walk({ odd });

    EXPECT_EQ(m_paths, QStringList{ odd });
}

TEST_F(FolderWalkTest, WhatALinkLeadsToAndNobodyMayLookAtIsNoOtherThanAFile)
{
    const QString hidden = makeFile(u"hidden/file"_s);
    makeFolder(u"Photos"_s);
    link(u"Photos/link"_s, hidden);
    const QByteArray folder = LocalPath::toBytes(path(u"hidden"_s));
    ASSERT_EQ(::chmod(LocalPath::toBytes(m_folder.path()).constData(), 0755), 0);
    ASSERT_EQ(::chmod(folder.constData(), 0), 0);
    constexpr uid_t nobody = 65534;
    const auto user = static_cast<uid_t>(::setfsuid(nobody)); // Of threads that begin now, too: root may look at all.
    m_walks.begin({ { path(u"Photos"_s) } });
    ::setfsuid(user);

    ASSERT_TRUE(waitFor([this] { return !m_walks.isUnderWay(); }));

    ASSERT_EQ(::chmod(folder.constData(), 0755), 0);
    EXPECT_EQ(m_paths, QStringList{ found(u"Photos/link"_s) });
    EXPECT_TRUE(m_leftOut.isEmpty());
}

TEST_F(FolderWalkTest, AFolderThatBecomesALinkMeanwhileIsNotFollowed)
{
    makePiece(u"Photos/before"_s);
    const QString inner = makeFolder(u"Photos/inner"_s);
    makeFile(u"elsewhere/file"_s);
    {
        const FaultyFileCalls calls;
        FaultyFileCalls::holdOpening("/inner");
        m_walks.begin({ { path(u"Photos"_s) } });
        ASSERT_TRUE(waitFor([this] { return !m_paths.isEmpty(); })); // By then it has met the other.
        ASSERT_TRUE(QDir().rmdir(inner));
        link(u"Photos/inner"_s, path(u"elsewhere"_s));
    }

    ASSERT_TRUE(waitFor([this] { return !m_walks.isUnderWay(); }));

    EXPECT_EQ(m_paths.size(), onePiece + 1);
    EXPECT_EQ(m_paths.last(), found(u"Photos/inner//"_s));
}

TEST_F(FolderWalkTest, FilesAmongTheFoldersKeepTheirPlacesAndPaths)
{
    const QString file = makeFile(u"file"_s);
    makeFile(u"Photos/a"_s);

    walk({ file, path(u"Photos"_s), u"/not/there"_s, file }, { u"http://host/x"_s });

    EXPECT_EQ(m_paths, (QStringList{ file, found(u"Photos/a"_s), u"/not/there"_s, file }));
    EXPECT_EQ(m_leftOut, QStringList{ u"http://host/x"_s });
}

TEST_F(FolderWalkTest, HoweverTheFolderIsWrittenItHasItsOwnName)
{
    makeFile(u"Photos/sub/a"_s);
    const QString expected = found(u"Photos/sub/a"_s);
    for (const QString& written :
         { u"Photos/"_s, u"Photos//"_s, u"./Photos"_s, u"Photos/."_s, u"/Photos"_s, u"Photos/sub/.."_s }) {
        m_paths.clear();
        walk({ path(written) });
        EXPECT_EQ(m_paths, QStringList{ expected }) << written.toStdString();
    }
}

TEST_F(FolderWalkTest, NamesOfAnyBytesComeAsTheyAre)
{
    const QByteArray folder = LocalPath::toBytes(makeFolder(u"Photos"_s)) + '/';
    const QByteArrayList names{ "\t tab", "\xff\xfe", "line\nbreak", "\xc3\xa4", " space " };
    for (const QByteArray& name : names) {
        const int file = ::open((folder + name).constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
        ASSERT_GE(file, 0);
        ::close(file);
    }

    walk({ path(u"Photos"_s) });

    QByteArrayList found;
    for (const QString& each : m_paths) {
        found.append(LocalPath::toBytes(each).sliced(this->found(u"Photos/"_s).size()));
    }
    for (const QByteArray& name : names) {
        ::unlink((folder + name).constData());
    }
    QByteArrayList sorted = names;
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(found, sorted);
}

TEST_F(FolderWalkTest, StoppedItFindsNothingMoreAndTheNextOneBeginsAfresh)
{
    for (int i = 0; i < 600; ++i) {
        makeFile(u"Photos/%1"_s.arg(i));
    }
    m_walks.begin({ { path(u"Photos"_s) } });
    m_walks.begin({ { path(u"Photos"_s), u"/a/file"_s }, { u"http://host/x"_s } });

    const QList<Drop> rest = m_walks.rest();
    ASSERT_EQ(rest.size(), 2);
    EXPECT_EQ(rest[0].paths.toStringList(), QStringList{ path(u"Photos"_s) });
    EXPECT_EQ(rest[1].paths.toStringList(), (QStringList{ path(u"Photos"_s), u"/a/file"_s }));
    EXPECT_EQ(rest[1].leftOut, QStringList{ u"http://host/x"_s });
    m_walks.stop();

    EXPECT_FALSE(m_walks.isUnderWay());
    const QString file = makeFile(u"file"_s);
    walk({ file });
    EXPECT_EQ(m_paths, QStringList{ file });
}

TEST_F(FolderWalkTest, StoppedItOpensNothingMoreEither)
{
    makePiece(u"Photos/before"_s);
    makeFolder(u"Photos/inner"_s);
    const QByteArray next = LocalPath::toBytes(makeFolder(u"Photos/next"_s));
    const auto threads = [] { return QDir(u"/proc/self/task"_s).count(); };
    const Descriptor opened(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    ASSERT_GE(::inotify_add_watch(opened.get(), next.constData(), IN_OPEN), 0);
    const auto before = threads();
    {
        const FaultyFileCalls calls;
        FaultyFileCalls::holdOpening("/inner");
        m_walks.begin({ { path(u"Photos"_s) } });
        ASSERT_TRUE(waitFor([this] { return !m_paths.isEmpty(); }));

        m_walks.stop();
    }

    ASSERT_TRUE(waitFor([&] { return threads() == before; }));
    std::array<char, 4096> events{};
    EXPECT_EQ(::read(opened.get(), events.data(), events.size()), -1) << "it has gone on to the next folder";
}

TEST_F(FolderWalkTest, WhatHasBeenFoundToItsEndIsNoRest)
{
    const QString file = makeFile(u"file"_s);
    makeFile(u"Photos/a"_s);
    FolderWalk walk(QStringList{ file, u"/"_s, file, path(u"Photos"_s) });
    std::optional<QStringList> rest;
    QObject::connect(&walk, &FolderWalk::ended, &walk, [&] { rest = walk.rest().toStringList(); });
    EXPECT_EQ(walk.rest().size(), 4);

    ASSERT_TRUE(waitFor([&rest] { return rest.has_value(); }));

    EXPECT_EQ(*rest, QStringList());
}

TEST_F(FolderWalkTest, WhatIsDroppedMeanwhileFollows)
{
    makeFile(u"a/1"_s);
    makeFile(u"b/2"_s);
    m_walks.begin({ { path(u"b"_s) } });

    walk({ path(u"a"_s) });

    EXPECT_EQ(m_paths, (QStringList{ found(u"b/2"_s), found(u"a/1"_s) }));
}

TEST_F(FolderWalkTest, WhatIsFoundIsReportedInPieces)
{
    for (int i = 0; i < 1200; ++i) {
        makeFile(u"Photos/%1"_s.arg(i));
    }
    QList<qsizetype> pieces;
    QObject::connect(&m_walks, &FolderWalks::found, &m_walks,
                     [&pieces](const Drop& piece) { pieces.append(piece.paths.size()); });

    walk({ path(u"Photos"_s) });

    EXPECT_EQ(m_paths.size(), 1200);
    EXPECT_GE(pieces.size(), 3);
    EXPECT_LE(*std::max_element(pieces.begin(), pieces.end()), 500);
}

TEST_F(FolderWalkTest, WithoutAThreadForItEverythingComesAsItWasDropped)
{
    makeFile(u"Photos/a"_s);
    const QString file = makeFile(u"file"_s);
    const NoThreadLeft noThreadLeft;

    walk({ path(u"Photos"_s), file });

    EXPECT_EQ(m_paths, (QStringList{ path(u"Photos"_s), file }));
    EXPECT_TRUE(m_leftOut.isEmpty());
}

} // namespace
