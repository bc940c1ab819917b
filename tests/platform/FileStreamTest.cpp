#include "CheckRows.h"
#include "FaultyFileCalls.h"
#include "FileInputStream.h"
#include "FileOfBytes.h"
#include "FileOutputStream.h"
#include "FileSizeLimit.h"
#include "LocalPath.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

class FileStreamTest : public testing::Test {
protected:
    QString path(const QString& name) const { return m_folder.filePath(name); }

    QString makeFile(const QString& name, const QByteArray& bytes) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return path(name);
    }

    static void append(const QString& path, const QByteArray& bytes)
    {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::Append));
        file.write(bytes);
    }

    static QByteArray contents(const QString& path)
    {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    QTemporaryDir m_folder;
    std::array<char, 8> m_buffer{};
};

TEST_F(FileStreamTest, InputReadsTheWholeFileAndThenTheEnd)
{
    const auto stream = FileInputStream::create(makeFile(u"a"_s, "0123456789"));
    ASSERT_NE(stream, nullptr);

    EXPECT_EQ(stream->length(), 10);
    EXPECT_EQ(stream->read(m_buffer), 8);
    EXPECT_EQ(stream->read(m_buffer), 2);
    EXPECT_EQ(m_buffer[1], '9');
    EXPECT_EQ(stream->read(m_buffer), 0);
}

TEST_F(FileStreamTest, NamesThatAreNotUtf8AreReadAndWrittenUnderTheirBytes)
{
    const FileOfBytes file(m_folder.path(), "caf\xe9", "old");
    const QString path = LocalPath::fromBytes(file.path());
    FileOutputStream output(path);
    output.open();

    EXPECT_EQ(output.write(QByteArrayView("new")), 3);
    EXPECT_TRUE(output.close());
    const auto input = FileInputStream::create(path);
    ASSERT_NE(input, nullptr);
    EXPECT_EQ(input->read(m_buffer), 3);
    EXPECT_EQ(m_buffer[0], 'n');
}

TEST_F(FileStreamTest, ProgramsThatAreStartedMeanwhileInheritNoFile)
{
    const auto input = FileInputStream::create(makeFile(u"in"_s, "text"));
    FileOutputStream output(path(u"out"_s));
    output.open();

    for (const QString& name : { u"in"_s, u"out"_s }) {
        int found = 0;
        for (const QFileInfo& descriptor : QDir(u"/proc/self/fd"_s).entryInfoList(QDir::Files)) {
            if (descriptor.symLinkTarget() == QFileInfo(path(name)).canonicalFilePath()) {
                ++found;
                EXPECT_EQ(fcntl(descriptor.fileName().toInt(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
            }
        }
        EXPECT_EQ(found, 1) << name.toStdString();
    }
}

TEST_F(FileStreamTest, InputOfAnEmptyFileIsAtItsEndAtOnce)
{
    const auto stream = FileInputStream::create(makeFile(u"a"_s, ""));
    ASSERT_NE(stream, nullptr);

    EXPECT_EQ(stream->read(m_buffer), 0);
}

TEST_F(FileStreamTest, InputOfAFileWhoseSizeIsGivenAsZeroHasItsTrueLength)
{
    const QString file = u"/proc/self/status"_s;
    ASSERT_EQ(QFileInfo(file).size(), 0);
    const auto stream = FileInputStream::create(file);
    ASSERT_NE(stream, nullptr);

    QByteArray bytes;
    while (const qint64 count = stream->read(m_buffer)) {
        ASSERT_GT(count, 0);
        bytes.append(m_buffer.data(), count);
    }

    EXPECT_TRUE(bytes.startsWith("Name:"));
    EXPECT_EQ(stream->length(), bytes.size());
}

TEST_F(FileStreamTest, InputWhoseLengthCannotBeToldFails)
{
    for (const QString& file : { u"/proc/self/mem"_s, u"/proc/self/pagemap"_s }) { // Unreadable at 0; of many GiB.
        SCOPED_TRACE(file.toStdString());
        const auto stream = FileInputStream::create(file);
        ASSERT_NE(stream, nullptr);

        EXPECT_EQ(stream->length(), -1);
        EXPECT_EQ(stream->read(m_buffer), -1);
    }
}

TEST_F(FileStreamTest, InputFollowsLinks)
{
    QFile::link(makeFile(u"a"_s, "0123456789"), path(u"link"_s));

    const auto stream = FileInputStream::create(path(u"link"_s));

    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->length(), 10);
}

TEST_F(FileStreamTest, InputLeavesOutWhatWasAppendedMeanwhile)
{
    const QString file = makeFile(u"a"_s, "0123");
    const auto stream = FileInputStream::create(file);
    ASSERT_NE(stream, nullptr);

    append(file, "4567");

    EXPECT_EQ(stream->read(m_buffer), 4);
    EXPECT_EQ(stream->read(m_buffer), 0);
}

TEST_F(FileStreamTest, InputThatEndsBeforeItsLengthFails)
{
    const QString file = makeFile(u"a"_s, "0123456789");
    const auto stream = FileInputStream::create(file);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->read(m_buffer), 8);

    ASSERT_TRUE(QFile::resize(file, 8));

    EXPECT_EQ(stream->read(m_buffer), -1);
}

TEST_F(FileStreamTest, InputFailsAfterItWasClosed)
{
    const auto stream = FileInputStream::create(makeFile(u"a"_s, "0123"));
    ASSERT_NE(stream, nullptr);

    stream->close();

    EXPECT_EQ(stream->read(m_buffer), -1);
}

TEST_F(FileStreamTest, ThereIsNoInputFromAnythingButARegularFile)
{
    ASSERT_EQ(mkfifo(QFile::encodeName(path(u"pipe"_s)).constData(), 0600), 0);
    QFile::link(path(u"nowhere"_s), path(u"dangling"_s));
    makeFile(u"a"_s, "0123");

    EXPECT_EQ(FileInputStream::create(path(u"missing"_s)), nullptr);
    EXPECT_EQ(FileInputStream::create(m_folder.path()), nullptr);
    EXPECT_EQ(FileInputStream::create(path(u"pipe"_s)), nullptr);
    EXPECT_EQ(FileInputStream::create(path(u"dangling"_s)), nullptr);
    EXPECT_EQ(FileInputStream::create(u"/dev/null"_s), nullptr);
    EXPECT_EQ(FileInputStream::create(QString()), nullptr);
    EXPECT_EQ(FileInputStream::create(path(u"a"_s) + QChar(0) + u"b"_s), nullptr);
}

TEST_F(FileStreamTest, OutputReplacesWhatWasThere)
{
    const QString file = makeFile(u"a"_s, "0123456789");
    FileOutputStream stream(file);
    stream.open();

    EXPECT_EQ(stream.write(std::array{ 'x', 'y' }), 2);
    EXPECT_EQ(stream.write(std::array{ 'z' }), 1);
    EXPECT_TRUE(stream.close());

    EXPECT_EQ(contents(file), "xyz");
}

TEST_F(FileStreamTest, OutputTakesThePlaceOfALinkWhateverItLeadsTo)
{
    const QString file = makeFile(u"a"_s, "0123456789");
    for (const QString& goal : { file, path(u"nowhere"_s), u"link"_s, m_folder.path(), u"/dev/null"_s }) {
        SCOPED_TRACE(goal.toStdString());
        QFile::remove(path(u"link"_s));
        ASSERT_TRUE(QFile::link(goal, path(u"link"_s)));
        FileOutputStream stream(path(u"link"_s));
        stream.open();

        EXPECT_EQ(stream.write(std::array{ 'x' }), 1);
        EXPECT_TRUE(stream.close());
        EXPECT_FALSE(QFileInfo(path(u"link"_s)).isSymLink());
        EXPECT_EQ(contents(path(u"link"_s)), "x");
    }
    EXPECT_EQ(contents(file), "0123456789");
    EXPECT_FALSE(QFileInfo::exists(path(u"nowhere"_s)));
}

TEST_F(FileStreamTest, OutputIsNotWrittenWhereALinkCannotBeRemoved)
{
    const QString file = makeFile(u"a"_s, "0123456789");
    ASSERT_TRUE(QFile::link(file, path(u"link"_s)));
    FileOutputStream stream(path(u"link"_s));
    const FaultyFileCalls faults;
    FaultyFileCalls::refuseToUnlink();
    stream.open();

    EXPECT_EQ(stream.write(std::array{ 'x' }), -1);
    EXPECT_FALSE(stream.close());
    EXPECT_EQ(contents(file), "0123456789");
    EXPECT_TRUE(QFileInfo(path(u"link"_s)).isSymLink());
}

TEST_F(FileStreamTest, OutputFilesAreNotExecutable)
{
    const mode_t before = umask(022);
    FileOutputStream stream(path(u"a"_s));
    stream.open();
    umask(before);

    EXPECT_TRUE(stream.close());
    EXPECT_EQ(QFile::permissions(path(u"a"_s)) & ~(QFile::ReadUser | QFile::WriteUser | QFile::ExeUser),
              QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
}

TEST_F(FileStreamTest, OutputTakesNoProgramsPlace)
{
    const QString program = makeFile(u"program"_s, "#!");
    ASSERT_TRUE(QFile::setPermissions(program,
                                      QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup
                                          | QFile::ExeGroup | QFile::ExeOther));
    FileOutputStream stream(program);
    stream.open();

    EXPECT_TRUE(stream.close());
    EXPECT_EQ(QFile::permissions(program) & ~(QFile::ReadUser | QFile::WriteUser | QFile::ExeUser),
              QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup);
}

TEST_F(FileStreamTest, OutputThatCannotBeOpenedFailsWhenItIsWritten)
{
    FileOutputStream stream(path(u"missing/a"_s));
    stream.open();

    EXPECT_EQ(stream.write(std::array{ 'x' }), -1);
    EXPECT_FALSE(stream.close());
}

TEST_F(FileStreamTest, OutputThatCannotBeOpenedFailsWhenItIsClosedWithoutAByte)
{
    for (const QString& file : { path(u"missing/a"_s), m_folder.path(), path(u"a"_s) + QChar(0) + u"b"_s }) {
        FileOutputStream stream(file);
        stream.open();

        EXPECT_FALSE(stream.close());
    }
    EXPECT_FALSE(QFileInfo::exists(path(u"a"_s)));
}

TEST_F(FileStreamTest, OutputGoesToNothingButARegularFileAndWaitsForNone)
{
    const QString pipe = path(u"pipe"_s);
    ASSERT_EQ(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    FileOutputStream unread(pipe);
    unread.open();
    EXPECT_FALSE(unread.close());

    const int reader = open(QFile::encodeName(pipe).constData(), O_RDONLY | O_NONBLOCK);
    for (const QString& file : { pipe, u"/dev/null"_s, u"/dev/ptmx"_s }) {
        SCOPED_TRACE(file.toStdString());
        FileOutputStream stream(file);
        stream.open();

        EXPECT_EQ(stream.write(std::array{ 'x' }), -1);
        EXPECT_FALSE(stream.close());
    }
    close(reader);
}

TEST_F(FileStreamTest, OutputToAFullDiskFails)
{
    FileOutputStream stream(path(u"a"_s));
    stream.open();
    const FileSizeLimit full(1);

    EXPECT_EQ(stream.write(std::array{ 'x', 'y' }), 1);
    EXPECT_EQ(stream.write(std::array{ 'y' }), -1);
    EXPECT_FALSE(stream.close());
}

TEST_F(FileStreamTest, OutputThatIsInterruptedIsTriedAgain)
{
    FileOutputStream stream(path(u"a"_s));
    stream.open();
    const FaultyFileCalls faults;

    FaultyFileCalls::interruptWrites(2);

    EXPECT_EQ(stream.write(std::array{ 'x' }), 1);
    EXPECT_TRUE(stream.close());
    EXPECT_EQ(contents(path(u"a"_s)), "x");
}

TEST_F(FileStreamTest, OutputFailsWhenClosingDoes)
{
    checkRows<bool(int)>({ { EIO, false }, { EDQUOT, false }, { EINTR, true } }, [this](int error) {
        FileOutputStream stream(path(u"a"_s));
        stream.open();
        EXPECT_EQ(stream.write(std::array{ 'x' }), 1);
        const FaultyFileCalls faults;

        FaultyFileCalls::failToClose(error);

        return stream.close();
    });
}

/// Files that take another's name only when they are whole.
class ReplacingFileTest : public FileStreamTest {
protected:
    /// What is in the folder.
    QStringList names() const { return QDir(m_folder.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot); }
    FileOutputStream stream(const QString& path) const
    {
        return FileOutputStream(path, FileOutputStream::Existing::KeptUntilWhole);
    }
    mode_t modeOf(const QString& path) const
    {
        struct stat status = {};
        EXPECT_EQ(lstat(QFile::encodeName(path).constData(), &status), 0);
        return status.st_mode & 07777;
    }
};

TEST_F(ReplacingFileTest, TheOldFileStandsUntilTheNewOneIsWhole)
{
    const QString file = makeFile(u"a"_s, "old");
    ASSERT_EQ(chmod(QFile::encodeName(file).constData(), 0640), 0);
    FileOutputStream output = stream(file);
    output.open();
    EXPECT_EQ(output.write(std::array{ 'x' }), 1);

    EXPECT_EQ(contents(file), "old");
    EXPECT_EQ(contents(path(u"a.part"_s)), "x");
    EXPECT_EQ(modeOf(path(u"a.part"_s)), 0640);
    EXPECT_TRUE(output.close());

    EXPECT_EQ(contents(file), "x");
    EXPECT_EQ(modeOf(file), 0640);
    EXPECT_EQ(names(), QStringList{ u"a"_s });
}

TEST_F(ReplacingFileTest, WhatDoesNotBecomeWholeIsRemovedAndTheOldFileStays)
{
    const QString file = makeFile(u"a"_s, "old");
    for (const int howItEnds : { 0, 1, 2 }) {
        SCOPED_TRACE(howItEnds);
        FileOutputStream output = stream(file);
        output.open();
        EXPECT_EQ(output.write(std::array{ 'x' }), 1);
        if (howItEnds == 1) {
            output.discard();
        } else if (howItEnds == 2) {
            const FaultyFileCalls faults;
            FaultyFileCalls::failToClose(EDQUOT);
            EXPECT_FALSE(output.close());
        }
    }

    EXPECT_EQ(contents(file), "old");
    EXPECT_EQ(names(), QStringList{ u"a"_s });
}

TEST_F(ReplacingFileTest, TheNewFileTakesTheNameOnlyWhenTheDiskHasItsData)
{
    checkRows<bool(int)>({ { EIO, false }, { ENOSPC, false }, { EINVAL, true } }, [this](int error) {
        const QString file = makeFile(u"a"_s, "old");
        FileOutputStream output = stream(file);
        output.open();
        EXPECT_EQ(output.write(std::array{ 'x' }), 1);
        const FaultyFileCalls faults;
        FaultyFileCalls::failToSynchronize(error);

        const bool isWhole = output.close();
        EXPECT_EQ(contents(file), isWhole ? "x" : "old");
        EXPECT_EQ(names(), QStringList{ u"a"_s });
        return isWhole;
    });
}

TEST_F(ReplacingFileTest, OtherFilesBesideItAreLeftAlone)
{
    const QString file = makeFile(u"a"_s, "old");
    makeFile(u"a.part"_s, "another");
    ASSERT_TRUE(QFile::link(makeFile(u"b"_s, "precious"), path(u"a 2.part"_s)));
    FileOutputStream output = stream(file);
    output.open();
    EXPECT_EQ(output.write(std::array{ 'x' }), 1);

    EXPECT_EQ(contents(path(u"a 3.part"_s)), "x");
    EXPECT_TRUE(output.close());
    EXPECT_EQ(contents(file), "x");
    EXPECT_EQ(contents(path(u"a.part"_s)), "another");
    EXPECT_EQ(contents(path(u"b"_s)), "precious");
    EXPECT_EQ(names(), (QStringList{ u"a"_s, u"a 2.part"_s, u"a.part"_s, u"b"_s }));
}

TEST_F(ReplacingFileTest, ALinkStandsUntilTheNewFileIsWhole)
{
    const QString file = makeFile(u"a"_s, "old");
    ASSERT_TRUE(QFile::link(file, path(u"link"_s)));
    FileOutputStream output = stream(path(u"link"_s));
    output.open();
    EXPECT_EQ(output.write(std::array{ 'x' }), 1);

    EXPECT_TRUE(QFileInfo(path(u"link"_s)).isSymLink());
    EXPECT_TRUE(output.close());

    EXPECT_FALSE(QFileInfo(path(u"link"_s)).isSymLink());
    EXPECT_EQ(contents(path(u"link"_s)), "x");
    EXPECT_EQ(contents(file), "old");
}

TEST_F(ReplacingFileTest, AFileThatIsGoneNeedsNoOtherToBeKept)
{
    FileOutputStream output = stream(path(u"a"_s));
    output.open();
    EXPECT_EQ(output.write(std::array{ 'x' }), 1);
    EXPECT_TRUE(output.close());

    EXPECT_EQ(contents(path(u"a"_s)), "x");
    EXPECT_EQ(names(), QStringList{ u"a"_s });
}

TEST_F(ReplacingFileTest, WhereTheFolderAllowsNoFileBesideItTheOldOneIsOverwritten)
{
    for (const int error : { EACCES, EPERM, EROFS, ENAMETOOLONG }) {
        SCOPED_TRACE(error);
        const QString file = makeFile(u"a"_s, "old");
        FileOutputStream output = stream(file);
        const FaultyFileCalls faults;
        FaultyFileCalls::failToCreate(error);
        output.open();
        EXPECT_EQ(output.write(std::array{ 'x' }), 1);

        output.discard();

        EXPECT_EQ(contents(file), "x");
    }
}

TEST_F(ReplacingFileTest, WhereNoFileCanBeMadeForAnyOtherReasonTheOldOneStaysAndTheOpeningFails)
{
    const QString file = makeFile(u"a"_s, "old");
    for (const int error : { ENOSPC, EDQUOT, EIO, EMFILE, ENFILE, ENOMEM }) {
        SCOPED_TRACE(error);
        FileOutputStream output = stream(file);
        const FaultyFileCalls faults;
        FaultyFileCalls::failToCreate(error);
        output.open();

        EXPECT_EQ(output.write(std::array{ 'x' }), -1);
        EXPECT_FALSE(output.close());
        EXPECT_EQ(contents(file), "old");
    }
}

TEST_F(ReplacingFileTest, WhereEveryNameIsTakenTheOldFileStaysAndTheOpeningFails)
{
    const QString file = makeFile(u"a"_s, "old");
    makeFile(u"a.part"_s, "another");
    for (int number = 2; number <= 100; ++number) {
        makeFile(u"a %1.part"_s.arg(number), "another");
    }
    FileOutputStream output = stream(file);
    output.open();

    EXPECT_FALSE(output.close());
    EXPECT_EQ(contents(file), "old");
}

TEST_F(ReplacingFileTest, FilesWithTheLongestNamesAreKeptAsWell)
{
    for (const QString& name : { QString(NAME_MAX - 4, u'a') + u".txt"_s, QString(NAME_MAX / 3, u'あ'),
                                 QString(NAME_MAX, QChar(0xdce9)) }) { // The last of bytes that are no UTF-8.
        SCOPED_TRACE(name.toStdString());
        const FileOfBytes file(m_folder.path(), LocalPath::toBytes(name), "old");
        const QString path = LocalPath::fromBytes(file.path());
        FileOutputStream other = stream(path);
        other.open();
        FileOutputStream output = stream(path);
        output.open();
        EXPECT_EQ(output.write(std::array{ 'x' }), 1);

        EXPECT_EQ(FileInputStream::create(path)->length(), 3);
        EXPECT_TRUE(output.close());
        EXPECT_EQ(FileInputStream::create(path)->length(), 1);
    }
}

TEST_F(ReplacingFileTest, AFileThatMayNotBeWrittenIsNotReplaced)
{
    const QString file = makeFile(u"a"_s, "old");
    ASSERT_EQ(chmod(QFile::encodeName(file).constData(), 0444), 0);
    ASSERT_EQ(chmod(QFile::encodeName(m_folder.path()).constData(), 0777), 0);
    FileOutputStream output = stream(file);
    {
        // Root may write anything: as far as files go, be somebody else.
        const auto before = static_cast<uid_t>(::setfsuid(65534));
        const auto restore = qScopeGuard([before] { ::setfsuid(before); });
        output.open();

        EXPECT_EQ(output.write(std::array{ 'x' }), -1);
        EXPECT_FALSE(output.close());
    }
    EXPECT_EQ(contents(file), "old");
    EXPECT_EQ(names(), QStringList{ u"a"_s });
}

TEST_F(ReplacingFileTest, TheNewFileHasTheGroupOfTheOldOneOrGivesItsRightsToNone)
{
    gid_t other = 65534;
    if (::geteuid() != 0) { // Who is not root can give files only to groups of his own.
        std::array<gid_t, 64> groups{};
        const int count = ::getgroups(static_cast<int>(groups.size()), groups.data());
        other = count > 0 ? groups[static_cast<size_t>(count) - 1] : ::getegid();
    }
    for (const bool isRefused : { false, true }) {
        SCOPED_TRACE(isRefused);
        const QString file = makeFile(u"a"_s, "old");
        const QByteArray name = QFile::encodeName(file);
        ASSERT_EQ(chown(name.constData(), static_cast<uid_t>(-1), other), 0);
        ASSERT_EQ(chmod(name.constData(), 0664), 0);
        const FaultyFileCalls faults;
        if (isRefused) {
            FaultyFileCalls::refuseToChangeGroup();
        }
        FileOutputStream output = stream(file);
        output.open();
        EXPECT_TRUE(output.close());

        struct stat status = {};
        ASSERT_EQ(lstat(name.constData(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, isRefused ? 0604U : 0664U);
        if (!isRefused) {
            EXPECT_EQ(status.st_gid, other);
        }
    }
}

TEST_F(ReplacingFileTest, NoProgramAndNothingButAFileIsReplaced)
{
    const QString program = makeFile(u"program"_s, "#!");
    ASSERT_EQ(chmod(QFile::encodeName(program).constData(), 0755), 0);
    FileOutputStream output = stream(program);
    output.open();
    EXPECT_TRUE(output.close());
    EXPECT_EQ(modeOf(program), 0644);

    ASSERT_TRUE(QDir(m_folder.path()).mkdir(u"folder"_s));
    ASSERT_EQ(mkfifo(QFile::encodeName(path(u"pipe"_s)).constData(), 0600), 0);
    for (const QString& name : { u"folder"_s, u"pipe"_s }) {
        FileOutputStream other = stream(path(name));
        other.open();

        EXPECT_EQ(other.write(std::array{ 'x' }), -1);
        EXPECT_FALSE(other.close());
    }
    EXPECT_EQ(QDir(m_folder.path()).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot),
              (QStringList{ u"folder"_s, u"pipe"_s, u"program"_s }));
}

TEST_F(ReplacingFileTest, AWholeFileThatCannotTakeItsNameStaysBesideIt)
{
    const QString file = makeFile(u"a"_s, "old");
    FileOutputStream output = stream(file);
    output.open();
    EXPECT_EQ(output.write(std::array{ 'x' }), 1);
    {
        const FaultyFileCalls faults;
        FaultyFileCalls::refuseToRename();
        EXPECT_FALSE(output.close());
    }

    EXPECT_EQ(output.strandedPath(), path(u"a.part"_s));

    EXPECT_EQ(contents(file), "old");
    EXPECT_EQ(contents(path(u"a.part"_s)), "x");
}

// Files that are always kept

TEST_F(ReplacingFileTest, AFileThatIsAlwaysKeptStaysWhereTheFolderAllowsNoFileBesideIt)
{
    const QString file = makeFile(u"a"_s, "old");
    const QString link = path(u"link"_s);
    ASSERT_TRUE(QFile::link(file, link));
    for (const QString& place : { file, link }) {
        for (const int error : { EACCES, EPERM, EROFS, ENAMETOOLONG }) {
            SCOPED_TRACE(error);
            FileOutputStream output(place, FileOutputStream::Existing::AlwaysKept);
            const FaultyFileCalls faults;
            FaultyFileCalls::failToCreate(error);
            output.open();

            EXPECT_EQ(output.write(std::array{ 'x' }), -1);
            EXPECT_FALSE(output.close());
            EXPECT_EQ(contents(place), "old");
        }
    }
}

TEST_F(ReplacingFileTest, NothingStaysBesideAFileThatIsAlwaysKept)
{
    const QString file = makeFile(u"a"_s, "old");
    FileOutputStream output(file, FileOutputStream::Existing::AlwaysKept);
    output.open();
    EXPECT_EQ(output.write(std::array{ 'x' }), 1);
    {
        const FaultyFileCalls faults;
        FaultyFileCalls::refuseToRename();
        EXPECT_FALSE(output.close());
    }

    EXPECT_EQ(output.strandedPath(), QString());
    EXPECT_EQ(contents(file), "old");
    EXPECT_EQ(names(), QStringList{ u"a"_s });
}

} // namespace
