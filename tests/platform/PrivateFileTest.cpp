#include "PrivateFile.h"

#include "Descriptor.h"
#include "FaultyFileCalls.h"
#include "FileSizeLimit.h"
#include "Printers.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <barrier>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

class PrivateFileTest : public testing::Test {
protected:
    /// Has a process of its own killed in the middle of replacing the file.
    void replaceAndBeKilled() const
    {
        const pid_t child = fork();
        if (child == 0) {
            const rlimit none{ 0, 0 };
            setrlimit(RLIMIT_CORE, &none);
            const FileSizeLimit limit(4);
            std::signal(SIGXFSZ, SIG_DFL);
            PrivateFile::replace(m_path, "secret");
            _exit(0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status));
    }
    /// A process that is stopped in the middle of replacing the file.
    pid_t replaceAndStop() const
    {
        const pid_t child = fork();
        if (child == 0) {
            const FileSizeLimit limit(4);
            std::signal(SIGXFSZ, [](int) { raise(SIGSTOP); });
            PrivateFile::replace(m_path, "secret");
            _exit(0);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, WUNTRACED), child);
        EXPECT_TRUE(WIFSTOPPED(status));
        return child;
    }
    void write(const QString& name, const QByteArray& bytes, mode_t mode) const
    {
        QFile file(m_folder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(bytes), bytes.size());
        ASSERT_EQ(fchmod(file.handle(), mode), 0);
    }
    static mode_t mode(const QString& path)
    {
        struct stat status { };
        EXPECT_EQ(stat(QFile::encodeName(path).constData(), &status), 0);
        return status.st_mode & 07777U;
    }
    QByteArray contents() const { return contents(m_path); }
    static QByteArray contents(const QString& path)
    {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }
    QStringList names() const
    {
        return QDir(m_folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    QTemporaryDir m_folder;
    QString m_path = m_folder.filePath(u"[a] été.json"_s);
    QString m_name = u"[a] été.json"_s;
};

TEST_F(PrivateFileTest, IsReplacedWholeAndForTheOwnerAlone)
{
    for (const QByteArray& bytes : { QByteArray("one"), QByteArray(), QByteArray(1'000'000, 'x') }) {
        EXPECT_TRUE(PrivateFile::replace(m_path, bytes));

        EXPECT_EQ(contents(), bytes);
        EXPECT_EQ(QFile::permissions(m_path) & (QFile::ReadGroup | QFile::ReadOther | QFile::ExeOwner),
                  QFile::Permissions());
        EXPECT_EQ(names(), QStringList{ m_name });
    }
}

TEST_F(PrivateFileTest, InterruptedAndShortWritesGoOn)
{
    const FaultyFileCalls faults;
    FaultyFileCalls::interruptWrites(2);
    FaultyFileCalls::limitWrites(2);

    EXPECT_TRUE(PrivateFile::replace(m_path, "secret"));

    EXPECT_EQ(contents(), "secret");
}

TEST_F(PrivateFileTest, WhatCannotBeWrittenLeavesNothingBehind)
{
    ASSERT_TRUE(PrivateFile::replace(m_path, "one"));
    {
        const FileSizeLimit limit(4);
        EXPECT_FALSE(PrivateFile::replace(m_path, "secret"));
    }
    EXPECT_FALSE(PrivateFile::replace(m_path + u"/below"_s, "two"));
    ASSERT_TRUE(QDir(m_folder.path()).mkdir(u"folder"_s));
    EXPECT_FALSE(PrivateFile::replace(m_folder.filePath(u"folder"_s), "three"));

    EXPECT_EQ(contents(), "one");
    EXPECT_EQ(names(), (QStringList{ m_name, u"folder"_s }));
}

TEST_F(PrivateFileTest, NobodyWaitsForWhoLocksTheFolder)
{
    const Descriptor other(open(QFile::encodeName(m_folder.path()).constData(), O_RDONLY | O_DIRECTORY));
    ASSERT_EQ(flock(other.get(), LOCK_EX), 0);
    replaceAndBeKilled();

    EXPECT_TRUE(PrivateFile::replace(m_path, "one"));
    PrivateFile::removeUnfinished(m_path);

    EXPECT_EQ(names(), QStringList{ m_name });
}

TEST_F(PrivateFileTest, WhatAKilledProgramHasLeftIsRemovedAndNothingElse)
{
    ASSERT_TRUE(PrivateFile::replace(m_path, "one"));
    const QStringList others{ u".[a] été.json.unfinished-"_s, u".[a] été.json.unfinished-abcdefg"_s,
                              u".[b] été.json.unfinished-abcdef"_s, u".[a] été.json.unfinished-a.json"_s };
    for (const QString& name : others) {
        write(name, "secret", 0600);
    }
    const QStringList before = names();
    replaceAndBeKilled();
    replaceAndBeKilled();
    EXPECT_EQ(contents(), "one");
    ASSERT_EQ(names().size(), before.size() + 2);

    PrivateFile::removeUnfinished(m_path);

    EXPECT_EQ(names(), before);
    EXPECT_EQ(contents(), "one");
}

TEST_F(PrivateFileTest, WhatEarlierVersionsHaveLeftIsRemovedAndNothingThatSomebodyElseMayHaveWritten)
{
    write(u"[a] été.json.wrLHTq"_s, R"({"Password": )", 0600);
    write(u"[a] été.json.aBcdef"_s, "{}", 0600);
    for (const char* name : { "kjwqxz", "Kjwqxz", "KJWQXZ", "kJwqxz" }) {
        write(u"[a] été.json."_s + QLatin1String(name), "", 0600); // Killed before it wrote.
    }
    const QStringList left = names();
    for (const char* name : { "backup", "Backup", "BACKUP", "aBcdefg", "aBcde", "aBcd12" }) {
        write(u"[a] été.json."_s + QLatin1String(name), "{}", 0600);
    }
    write(u"[b] été.json.aBcdef"_s, "{}", 0600);
    write(u"[a] été.json.aBcdeF"_s, "text", 0600);
    write(u"[a] été.json.aBcDef"_s, "{}", 0640);
    ASSERT_TRUE(QFile::link(m_folder.filePath(u"[b] été.json.aBcdef"_s), m_folder.filePath(u"[a] été.json.aBCdef"_s)));
    QStringList others = names();
    for (const QString& name : left) {
        others.removeOne(name);
    }

    PrivateFile::removeUnfinished(m_path);

    EXPECT_EQ(names(), others);
}

TEST_F(PrivateFileTest, WhatARunningProgramIsWritingStays)
{
    const pid_t child = replaceAndStop();
    ASSERT_EQ(names().size(), 1);

    EXPECT_TRUE(PrivateFile::replace(m_path, "one")); // Writers do not wait for each other.
    PrivateFile::removeUnfinished(m_path);
    EXPECT_EQ(names().size(), 2);

    ASSERT_EQ(kill(child, SIGKILL), 0);
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    PrivateFile::removeUnfinished(m_path);
    EXPECT_EQ(names(), QStringList{ m_name });
}

TEST_F(PrivateFileTest, WhereNothingCanBeLockedWhatIsOlderThanAnHourIsRemoved)
{
    const FaultyFileCalls faults;
    for (const int error : { ENOLCK, EOPNOTSUPP }) {
        FaultyFileCalls::failToLock(error);
        replaceAndBeKilled();
        PrivateFile::removeUnfinished(m_path);
        ASSERT_EQ(names().size(), 1);
        const std::array<timespec, 2> times{ timespec{ .tv_sec = time(nullptr) - 3700, .tv_nsec = 0 },
                                             timespec{ .tv_sec = time(nullptr) - 3700, .tv_nsec = 0 } };
        ASSERT_EQ(
            utimensat(AT_FDCWD, QFile::encodeName(m_folder.filePath(names().first())).constData(), times.data(), 0), 0);

        PrivateFile::removeUnfinished(m_path);

        EXPECT_EQ(names(), QStringList());
    }
}

TEST_F(PrivateFileTest, BehindALinkedFolderALinkLeadsWhereTheSystemSaysItDoes)
{
    ASSERT_TRUE(QDir().mkpath(m_folder.filePath(u"far/inner"_s)));
    write(u"far/file"_s, "one", 0600);
    ASSERT_TRUE(QFile::link(m_folder.filePath(u"far/inner"_s), m_folder.filePath(u"near"_s)));
    const QString link = m_folder.filePath(u"near/link"_s);
    ASSERT_EQ(symlink("../file", QFile::encodeName(link).constData()), 0);

    EXPECT_TRUE(PrivateFile::replace(link, "two"));

    EXPECT_EQ(contents(m_folder.filePath(u"far/file"_s)), "two");
    EXPECT_TRUE(QFileInfo(link).isSymLink());
    EXPECT_FALSE(QFileInfo::exists(m_folder.filePath(u"file"_s)));
}

TEST_F(PrivateFileTest, AFolderIsMadeForTheOwnerAlone)
{
    const QString path = m_folder.filePath(u"a/b"_s);

    EXPECT_TRUE(PrivateFile::makeFolder(path));

    EXPECT_EQ(mode(path), 0700U);
    EXPECT_EQ(mode(m_folder.filePath(u"a"_s)), 0700U);
    EXPECT_TRUE(PrivateFile::makeFolder(path));
    EXPECT_FALSE(PrivateFile::makeFolder(u"/dev/null/a"_s));
}

TEST_F(PrivateFileTest, AFolderThatSomebodyElseMakesAtTheSameTimeIsThere)
{
    constexpr int makers = 4;
    constexpr int folders = 200;
    std::barrier start(makers);
    std::atomic<int> made = 0;
    std::vector<std::thread> threads;
    for (int maker = 0; maker < makers; ++maker) {
        threads.emplace_back([this, &start, &made] {
            for (int number = 0; number < folders; ++number) {
                start.arrive_and_wait();
                made += PrivateFile::makeFolder(m_folder.filePath(u"%1/a/b"_s.arg(number))) ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    EXPECT_EQ(made, makers * folders);
}

TEST_F(PrivateFileTest, OthersHaveARightOnlyWhereFolderAndFileGiveIt)
{
    using PrivateFile::Right;
    using PrivateFile::Rights;
    struct Case {
        mode_t folder;
        mode_t file;
        Rights rights;
    };
    const std::vector<Case> cases{
        { 0700, 0600, {} },
        { 0755, 0600, Right::None },
        { 0700, 0666, Right::None },
        { 0744, 0644, Right::None }, // Who cannot pass a folder cannot do anything in it.
        { 0722, 0600, Right::None },
        { 0755, 0604, Right::Read },
        { 0710, 0640, Right::Read },
        { 0711, 0620, Right::Write },
        { 0755, 0666, Right::Read | Right::Write },
        { 0773, 0600, Right::Replace },
        { 0730, 0644, Right::Read | Right::Replace },
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(testing::Message() << std::oct << each.folder << ' ' << each.file);
        QFile::remove(m_path);
        write(m_name, "{}", each.file);
        ASSERT_EQ(chmod(QFile::encodeName(m_folder.path()).constData(), each.folder), 0);

        const PrivateFile::Access access = PrivateFile::closeToOthers(m_path);

        EXPECT_EQ(access.had, each.rights);
        EXPECT_EQ(access.have, Rights());
        EXPECT_EQ(mode(m_path) & 077U, 0U);
        EXPECT_EQ(mode(m_folder.path()), 0700U);
    }
}

TEST_F(PrivateFileTest, WithoutAFileTheFolderIsClosedAndNobodyHadARight)
{
    ASSERT_EQ(chmod(QFile::encodeName(m_folder.path()).constData(), 0777), 0);

    EXPECT_EQ(PrivateFile::closeToOthers(m_path).had, PrivateFile::Rights());

    EXPECT_EQ(mode(m_folder.path()), 0700U);
}

TEST_F(PrivateFileTest, OfALinksTargetTheFileIsClosedAndItsFolderLeftAsItIs)
{
    const QString elsewhere = m_folder.filePath(u"elsewhere"_s);
    ASSERT_TRUE(QDir().mkdir(elsewhere));
    write(u"elsewhere/file"_s, "{}", 0644);
    ASSERT_TRUE(QFile::link(elsewhere + u"/file"_s, m_path));
    ASSERT_EQ(chmod(QFile::encodeName(elsewhere).constData(), 0775), 0);
    ASSERT_EQ(chmod(QFile::encodeName(m_folder.path()).constData(), 0711), 0);

    const PrivateFile::Access access = PrivateFile::closeToOthers(m_path);

    EXPECT_EQ(access.had, PrivateFile::Rights(PrivateFile::Right::Read));
    EXPECT_EQ(access.have, PrivateFile::Rights());
    EXPECT_EQ(mode(elsewhere + u"/file"_s), 0600U);
    EXPECT_EQ(mode(elsewhere), 0775U);
    EXPECT_EQ(mode(m_folder.path()), 0700U);
}

} // namespace
