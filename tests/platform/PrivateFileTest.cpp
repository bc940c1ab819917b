#include "PrivateFile.h"

#include "Descriptor.h"
#include "FaultyFileCalls.h"
#include "FileSizeLimit.h"
#include "Printers.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>

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
    QByteArray contents() const
    {
        QFile file(m_path);
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
    EXPECT_FALSE(PrivateFile::replace(m_folder.filePath(u"no/where"_s), "two"));
    ASSERT_TRUE(QDir(m_folder.path()).mkdir(u"folder"_s));
    EXPECT_FALSE(PrivateFile::replace(m_folder.filePath(u"folder"_s), "three"));

    EXPECT_EQ(contents(), "one");
    EXPECT_EQ(names(), (QStringList{ m_name, u"folder"_s }));
}

TEST_F(PrivateFileTest, WhatAKilledProgramHasLeftIsRemovedAndNothingElse)
{
    ASSERT_TRUE(PrivateFile::replace(m_path, "one"));
    const QStringList others{ u".[a] été.json.unfinished-"_s, u".[a] été.json.unfinished-abcdefg"_s,
                              u".[b] été.json.unfinished-abcdef"_s, u"[a] été.json.abcdef"_s };
    for (const QString& name : others) {
        ASSERT_TRUE(QFile(m_folder.filePath(name)).open(QIODevice::WriteOnly));
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

TEST_F(PrivateFileTest, WhatARunningProgramIsWritingStays)
{
    replaceAndBeKilled();
    const QStringList before = names();
    ASSERT_EQ(before.size(), 1);
    {
        const Descriptor writers(open(QFile::encodeName(m_folder.path()).constData(), O_RDONLY | O_DIRECTORY));
        ASSERT_EQ(flock(writers.get(), LOCK_SH), 0);

        EXPECT_TRUE(PrivateFile::replace(m_path, "one")); // Writers do not wait for each other.
        ASSERT_TRUE(QFile::remove(m_path));
        PrivateFile::removeUnfinished(m_path);
        EXPECT_EQ(names(), before);
    }

    PrivateFile::removeUnfinished(m_path);

    EXPECT_EQ(names(), QStringList());
}

} // namespace
