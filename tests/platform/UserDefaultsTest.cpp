#include "UserDefaults.h"

#include "FaultyFileCalls.h"
#include "FileSizeLimit.h"
#include "OpenDescriptors.h"
#include "Printers.h"
#include "WaitFor.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <sys/stat.h>
#include <sys/wait.h>
#include <tuple>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype mebibyte = qsizetype(1024) * 1024;

class UserDefaultsTest : public testing::Test {
protected:
    void writeFile(const QByteArray& bytes) const { writeFileAt(m_path, bytes); }

    static void writeFileAt(const QString& path, const QByteArray& bytes)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(bytes), bytes.size());
    }

    static QByteArray contents(const QString& path)
    {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    static mode_t mode(const QString& path)
    {
        struct stat status { };
        EXPECT_EQ(stat(QFile::encodeName(path).constData(), &status), 0);
        return status.st_mode & 07777;
    }

    static void setMode(const QString& path, mode_t mode)
    {
        ASSERT_EQ(chmod(QFile::encodeName(path).constData(), mode), 0);
    }

    using Right = PrivateFile::Right;
    using Rights = PrivateFile::Rights;

    void listen()
    {
        m_defaults.setOpenFileHandler([this](PrivateFile::Access access) {
            m_had.append(access.had);
            m_have.append(access.have);
        });
    }

    QTemporaryDir m_folder;
    QList<Rights> m_had;
    QList<Rights> m_have;
    QString m_path = m_folder.filePath(u"settings.json"_s);
    QString m_backup = m_path + u".bak"_s;
    UserDefaults m_defaults{ m_path };
};

TEST_F(UserDefaultsTest, TheStandardFileLiesInTheConfigurationFolder)
{
    EXPECT_EQ(UserDefaults::standard().filePath(),
              QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) + u"/settings.json"_s);
}

TEST_F(UserDefaultsTest, NoFileIsNoSettings)
{
    EXPECT_TRUE(m_defaults.string(u"Address"_s).isNull());
    EXPECT_EQ(m_defaults.boolean(u"Flag"_s), std::nullopt);
}

TEST_F(UserDefaultsTest, ReadsWhatItStored)
{
    ASSERT_TRUE(m_defaults.store({ { u"Address"_s, u"host"_s }, { u"Flag"_s, true } }));

    EXPECT_EQ(m_defaults.string(u"Address"_s), u"host"_s);
    EXPECT_EQ(m_defaults.boolean(u"Flag"_s), true);
    EXPECT_EQ(UserDefaults(m_path).string(u"Address"_s), u"host"_s);
}

TEST_F(UserDefaultsTest, WhatIsReadTogetherIsOfOneState)
{
    writeFile(R"({"Address": "old", "Username": "old"})");
    {
        const UserDefaults::Reading reading(m_defaults);
        EXPECT_EQ(m_defaults.string(u"Address"_s), u"old"_s);

        writeFile(R"({"Address": "another", "Username": "another"})");

        EXPECT_EQ(m_defaults.string(u"Username"_s), u"old"_s);
    }
    EXPECT_EQ(m_defaults.string(u"Username"_s), u"another"_s);
}

TEST_F(UserDefaultsTest, WithoutADescriptorToReadWithWhatWasKnownHolds)
{
    writeFile(R"({"Address": "one"})");
    EXPECT_EQ(m_defaults.string(u"Address"_s), u"one"_s);
    writeFile(R"({"Address": "the second"})");
    {
        const NoDescriptorLeft none;
        EXPECT_EQ(m_defaults.string(u"Address"_s), u"one"_s);
    }
    EXPECT_EQ(m_defaults.string(u"Address"_s), u"the second"_s);
}

TEST_F(UserDefaultsTest, WithoutADescriptorToReadWithNothingIsStored)
{
    ASSERT_TRUE(m_defaults.store({ { u"k"_s, u"known"_s } }));
    for (const QByteArray& present : { R"({"other":"new"})"_ba, "broken"_ba }) {
        writeFile(present);
        {
            const FaultyFileCalls faults; // There is one again when it comes to writing.
            FaultyFileCalls::failToOpen(EMFILE);
            EXPECT_FALSE(m_defaults.store({ { u"k"_s, u"stored"_s } }));
        }
        EXPECT_EQ(contents(m_path), present);
    }
}

TEST_F(UserDefaultsTest, AnEmptyTextIsNotNothing)
{
    ASSERT_TRUE(m_defaults.store({ { u"FTPFolder"_s, u""_s } }));

    EXPECT_FALSE(m_defaults.string(u"FTPFolder"_s).isNull());
    EXPECT_TRUE(m_defaults.string(u"FTPFolder"_s).isEmpty());
}

TEST_F(UserDefaultsTest, OddTextsSurvive)
{
    for (const QString& text :
         { u"a,b;c"_s, u"\"quoted\" 'and' \\ {}"_s, u" blanks "_s, u"\u0001\t\r\n\u007f"_s, u"nul\u0000inside"_s,
           u"\u00e9\u4e2d\U0001F600"_s, QString(QChar(0xd800)) + u"half"_s, u"@ByteArray(x)"_s, u"%41"_s }) {
        ASSERT_TRUE(m_defaults.store({ { u"Password"_s, text } }));

        EXPECT_EQ(UserDefaults(m_path).string(u"Password"_s), text);
    }
}

TEST_F(UserDefaultsTest, AValueOfTheWrongTypeReadsAsNothing)
{
    writeFile(R"({"Address": 5, "Username": null, "Password": ["x"], "Flag": "true", "Other": 1})");

    EXPECT_TRUE(m_defaults.string(u"Address"_s).isNull());
    EXPECT_TRUE(m_defaults.string(u"Username"_s).isNull());
    EXPECT_TRUE(m_defaults.string(u"Password"_s).isNull());
    EXPECT_EQ(m_defaults.boolean(u"Flag"_s), std::nullopt);
    EXPECT_EQ(m_defaults.boolean(u"Other"_s), std::nullopt);
}

TEST_F(UserDefaultsTest, StoringNothingRemovesTheKey)
{
    ASSERT_TRUE(m_defaults.store({ { u"Address"_s, u"host"_s }, { u"Username"_s, u"me"_s } }));

    ASSERT_TRUE(m_defaults.store({ { u"Address"_s, QJsonValue() } }));

    EXPECT_TRUE(m_defaults.string(u"Address"_s).isNull());
    EXPECT_EQ(m_defaults.string(u"Username"_s), u"me"_s);
    EXPECT_FALSE(contents(m_path).contains("Address"));
}

TEST_F(UserDefaultsTest, StoringKeepsWhatAnotherProgramStoredMeanwhile)
{
    UserDefaults other(m_path);
    ASSERT_TRUE(m_defaults.store({ { u"Address"_s, u"host"_s } }));
    ASSERT_TRUE(other.store({ { u"Username"_s, u"me"_s } }));

    ASSERT_TRUE(m_defaults.store({ { u"Password"_s, u"secret"_s } }));

    EXPECT_EQ(other.string(u"Address"_s), u"host"_s);
    EXPECT_EQ(other.string(u"Username"_s), u"me"_s);
    EXPECT_EQ(other.string(u"Password"_s), u"secret"_s);
}

TEST_F(UserDefaultsTest, FileAndFolderAreForTheOwnerAlone)
{
    const mode_t before = umask(0);
    const QString folder = m_folder.filePath(u"a/quillbox"_s);
    UserDefaults defaults(folder + u"/settings.json"_s);
    EXPECT_TRUE(defaults.string(u"Address"_s).isNull());
    EXPECT_FALSE(QFileInfo::exists(folder));

    EXPECT_TRUE(defaults.store({ { u"Address"_s, u"host"_s } }));
    umask(before);

    EXPECT_EQ(mode(defaults.filePath()), 0600);
    EXPECT_EQ(mode(folder), 0700);
    EXPECT_EQ(mode(m_folder.filePath(u"a"_s)), 0700);
    EXPECT_EQ(QDir(folder).entryList(QDir::Files | QDir::Hidden), QStringList{ u"settings.json"_s });
}

TEST_F(UserDefaultsTest, AFileThatOthersCouldReadIsClosedToThemByAStore)
{
    writeFile(R"({"Address": "host"})");
    ASSERT_EQ(chmod(QFile::encodeName(m_path).constData(), 0644), 0);

    ASSERT_TRUE(m_defaults.store({ { u"Username"_s, u"me"_s } }));

    EXPECT_EQ(mode(m_path), 0600);
}

TEST_F(UserDefaultsTest, AFileThatIsOpenToOthersIsClosedWheneverItIsReadAndEachRightIsReportedOnce)
{
    writeFile(R"({"Address": "one"})");
    setMode(m_path, 0604);
    setMode(m_folder.path(), 0710);
    listen();

    EXPECT_EQ(m_defaults.string(u"Address"_s), u"one"_s);

    EXPECT_EQ(mode(m_path), 0600);
    EXPECT_EQ(mode(m_folder.path()), 0700);
    EXPECT_EQ(m_had, QList<Rights>());
    ASSERT_TRUE(waitFor([this] { return !m_had.isEmpty(); }));
    writeFile(R"({"Address": "two"})");
    setMode(m_path, 0644);
    setMode(m_folder.path(), 0755);
    EXPECT_EQ(m_defaults.string(u"Address"_s), u"two"_s);
    EXPECT_EQ(mode(m_path), 0600);
    drainEventLoop();
    EXPECT_EQ(m_had, QList<Rights>{ Right::Read });

    writeFile(R"({"Address": "three"})");
    setMode(m_path, 0666);
    setMode(m_folder.path(), 0755);
    EXPECT_EQ(m_defaults.string(u"Address"_s), u"three"_s);
    ASSERT_TRUE(waitFor([this] { return m_had.size() == 2; }));
    EXPECT_EQ(m_had.last(), Right::Read | Right::Write);
    EXPECT_EQ(m_have.last(), Rights());
}

TEST_F(UserDefaultsTest, AFolderThatOthersCanPassIsClosedAndReportedWhenThereAreSettingsInIt)
{
    setMode(m_folder.path(), 0755);
    listen();
    EXPECT_EQ(mode(m_folder.path()), 0700);
    drainEventLoop();
    EXPECT_EQ(m_had, QList<Rights>());
    setMode(m_folder.path(), 0755);
    writeFile("{}");
    setMode(m_path, 0600);

    EXPECT_TRUE(m_defaults.isReadable());

    ASSERT_TRUE(waitFor([this] { return !m_had.isEmpty(); }));
    EXPECT_EQ(mode(m_folder.path()), 0700);
    EXPECT_EQ(m_had, QList<Rights>{ Right::None });
}

TEST_F(UserDefaultsTest, AFolderThatOthersCanWriteToIsClosedAndReportedWhenSomebodyListens)
{
    writeFile("{}");
    setMode(m_path, 0400);
    setMode(m_folder.path(), 0777);
    EXPECT_TRUE(m_defaults.isReadable());
    EXPECT_EQ(mode(m_path), 0400);
    EXPECT_EQ(mode(m_folder.path()), 0700);

    listen();

    ASSERT_TRUE(waitFor([this] { return !m_had.isEmpty(); }));
    EXPECT_EQ(m_had, QList<Rights>{ Right::Replace });
}

TEST_F(UserDefaultsTest, AnOpenFileIsFoundWhenSomebodyListensAlthoughNobodyReadsIt)
{
    writeFile("{}");
    setMode(m_path, 0644);
    setMode(m_folder.path(), 0755);

    listen();

    EXPECT_EQ(mode(m_path), 0600);
    ASSERT_TRUE(waitFor([this] { return !m_had.isEmpty(); }));
    EXPECT_EQ(m_had, QList<Rights>{ Right::Read });
}

TEST_F(UserDefaultsTest, WhatOthersCouldDoBeforeANeighbourClosedTheFolderIsReported)
{
    writeFile("{}");
    setMode(m_path, 0666);
    setMode(m_folder.path(), 0755);
    m_defaults.noteAccess();
    EXPECT_TRUE(UserDefaults(m_folder.filePath(u"neighbour.json"_s)).isReadable());
    ASSERT_EQ(mode(m_folder.path()), 0700);

    listen();

    ASSERT_TRUE(waitFor([this] { return !m_had.isEmpty(); }));
    EXPECT_EQ(m_had, QList<Rights>{ Right::Read | Right::Write });
}

TEST_F(UserDefaultsTest, WhatCannotBeClosedToOthersIsReportedAsSuchOnceAndTriedAgain)
{
    ASSERT_TRUE(QFile::link(u"/proc/self/status"_s, m_path)); // Nobody may change its mode.
    listen();

    EXPECT_FALSE(m_defaults.isReadable());
    EXPECT_FALSE(m_defaults.isReadable());

    ASSERT_TRUE(waitFor([this] { return !m_had.isEmpty(); }));
    drainEventLoop();
    EXPECT_EQ(m_have, QList<Rights>{ Right::Read });
    ASSERT_TRUE(QFile::remove(m_path));
    writeFile("{}");
    setMode(m_path, 0644);
    EXPECT_TRUE(m_defaults.isReadable());
    EXPECT_EQ(mode(m_path), 0600);
}

TEST_F(UserDefaultsTest, WhatIsForTheOwnerAloneIsNotReported)
{
    listen();
    EXPECT_FALSE(m_defaults.contains(u"Address"_s));
    ASSERT_TRUE(m_defaults.store({ { u"Address"_s, u"host"_s } }));
    EXPECT_TRUE(m_defaults.contains(u"Address"_s));

    drainEventLoop();

    EXPECT_EQ(m_had, QList<Rights>());
}

TEST_F(UserDefaultsTest, SeesTheFileAppearChangeAndGo)
{
    EXPECT_TRUE(m_defaults.string(u"Address"_s).isNull());
    writeFile(R"({"Address": "one"})");
    EXPECT_EQ(m_defaults.string(u"Address"_s), u"one"_s);
    writeFile(R"({"Address": "two"})");
    EXPECT_EQ(m_defaults.string(u"Address"_s), u"two"_s);
    ASSERT_TRUE(QFile::remove(m_path));
    EXPECT_TRUE(m_defaults.string(u"Address"_s).isNull());
}

TEST_F(UserDefaultsTest, SeesEveryOneOfManyQuickChangesOfTheSameLength)
{
    for (int i = 1000; i < 1500; ++i) {
        const QString host = QString::number(i);
        writeFile(R"({"Address": ")" + host.toLatin1() + R"("})");

        ASSERT_EQ(m_defaults.string(u"Address"_s), host);
    }
}

TEST_F(UserDefaultsTest, AFileThatDoesNotChangeIsNotReadAgain)
{
    writeFile(R"({"Address": "host"})");
    struct stat status { };
    const auto settled = [this, &status] {
        EXPECT_EQ(m_defaults.string(u"Address"_s), u"host"_s);
        EXPECT_EQ(stat(QFile::encodeName(m_path).constData(), &status), 0);
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        return (now.tv_sec - status.st_ctim.tv_sec) * 1000 + (now.tv_nsec - status.st_ctim.tv_nsec) / 1'000'000 > 40;
    };
    ASSERT_TRUE(waitFor(settled));
    ASSERT_EQ(m_defaults.string(u"Address"_s), u"host"_s);
    // Access times would tell of a read, but not on every file system: the reads of this process do.
    const auto readCalls = [] {
        const QList<QByteArray> lines = contents(u"/proc/self/io"_s).split('\n');
        for (const QByteArray& line : lines) {
            if (line.startsWith("syscr: ")) {
                return line.mid(7).toLongLong();
            }
        }
        return -1LL;
    };
    const qint64 forItself = [&readCalls] {
        const qint64 first = readCalls();
        return readCalls() - first;
    }();
    const qint64 before = readCalls();

    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(m_defaults.string(u"Address"_s), u"host"_s);
    }

    EXPECT_EQ(readCalls() - before, forItself);
}

TEST_F(UserDefaultsTest, ABrokenFileReadsAsIfItWereEmpty)
{
    for (const QByteArray& bytes :
         { QByteArray(), QByteArray("{"), QByteArray("[1]"), QByteArray(R"("Address")"), QByteArray("Address=host"),
           QByteArray(R"({"Address": "host"} x)"), QByteArray("{\"Address\": \"\xff\"}"),
           QByteArray(R"({"Address": "host"})" + QByteArray(mebibyte, ' ')) }) {
        writeFile(bytes);

        EXPECT_TRUE(m_defaults.string(u"Address"_s).isNull()) << bytes.left(40).toStdString();
    }
}

TEST_F(UserDefaultsTest, WhatAFileLastHeldIsKnownWhileItHoldsNothing)
{
    EXPECT_TRUE(m_defaults.lastKnown(u"Address"_s).isUndefined());
    writeFile(R"({"Address": "host", "Other": true})");
    EXPECT_EQ(m_defaults.lastKnown(u"Address"_s), QJsonValue(u"host"_s));

    for (const char* bytes : { "", "{", "{}" }) {
        writeFile(bytes);

        EXPECT_FALSE(m_defaults.contains(u"Address"_s));
        EXPECT_EQ(m_defaults.lastKnown(u"Address"_s), QJsonValue(u"host"_s)) << bytes;
    }
    writeFile(R"({"Other": true})");
    EXPECT_TRUE(m_defaults.lastKnown(u"Address"_s).isUndefined());
}

TEST_F(UserDefaultsTest, AFileOfOneMiBIsStillRead)
{
    const QByteArray json = R"({"Address": "host"})";
    writeFile(json + QByteArray(mebibyte - json.size(), ' '));

    EXPECT_EQ(m_defaults.string(u"Address"_s), u"host"_s);
}

TEST_F(UserDefaultsTest, TheStoreAfterABrokenFileKeepsItBesideTheNewOne)
{
    writeFileAt(m_backup, "older");
    writeFile("Address=host\n");
    ASSERT_EQ(chmod(QFile::encodeName(m_path).constData(), 0644), 0);

    ASSERT_TRUE(m_defaults.store({ { u"Username"_s, u"me"_s } }));

    EXPECT_EQ(contents(m_backup), "Address=host\n");
    EXPECT_EQ(mode(m_backup), 0600);
    EXPECT_EQ(m_defaults.string(u"Username"_s), u"me"_s);
}

TEST_F(UserDefaultsTest, WhoIsKilledWhileABrokenFileIsReplacedLeavesItInPlace)
{
    writeFile("broken");
    const pid_t child = fork();
    if (child == 0) {
        const rlimit none{ 0, 0 };
        setrlimit(RLIMIT_CORE, &none);
        const FileSizeLimit limit(4);
        std::signal(SIGXFSZ, SIG_DFL);
        std::ignore = m_defaults.store({ { u"Username"_s, u"me"_s } });
        _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));

    EXPECT_EQ(contents(m_path), "broken");
}

TEST_F(UserDefaultsTest, ABrokenFileBehindALinkIsKeptBesideTheLink)
{
    // Another file system, where there can be no second name of it.
    QTemporaryDir far(u"/dev/shm/XXXXXX"_s);
    const QString target = far.filePath(u"elsewhere.json"_s);
    writeFileAt(target, "broken");
    ASSERT_TRUE(QFile::link(target, m_path));

    ASSERT_TRUE(m_defaults.store({ { u"Username"_s, u"me"_s } }));

    EXPECT_TRUE(QFileInfo(m_path).isSymLink());
    EXPECT_EQ(m_defaults.string(u"Username"_s), u"me"_s);
    EXPECT_EQ(contents(m_backup), "broken");
    EXPECT_EQ(mode(m_backup), 0600);
}

TEST_F(UserDefaultsTest, AStoreOverAGoodFileKeepsNone)
{
    writeFile(R"({"Address": "host"})");

    ASSERT_TRUE(m_defaults.store({ { u"Username"_s, u"me"_s } }));

    EXPECT_FALSE(QFileInfo::exists(m_backup));
}

TEST_F(UserDefaultsTest, AFolderInTheFilesPlaceIsBrokenAndMakesRoom)
{
    ASSERT_TRUE(QDir().mkpath(m_path + u"/inside"_s));
    EXPECT_TRUE(m_defaults.string(u"Address"_s).isNull());

    ASSERT_TRUE(m_defaults.store({ { u"Address"_s, u"host"_s } }));

    EXPECT_EQ(m_defaults.string(u"Address"_s), u"host"_s);
    EXPECT_TRUE(QFileInfo(m_backup + u"/inside"_s).isDir());
}

TEST_F(UserDefaultsTest, ANamedPipeInTheFilesPlaceMakesNobodyWait)
{
    ASSERT_EQ(mkfifo(QFile::encodeName(m_path).constData(), 0600), 0);

    EXPECT_TRUE(m_defaults.string(u"Address"_s).isNull());
}

TEST_F(UserDefaultsTest, AStoreOnAFullDiskLeavesTheFileInPlace)
{
    for (const QByteArray& bytes : { QByteArray("broken"), QByteArray(R"({"Address": "host"})") }) {
        writeFile(bytes);
        const FileSizeLimit limit(0);

        EXPECT_FALSE(m_defaults.store({ { u"Username"_s, u"me"_s } }));

        EXPECT_EQ(contents(m_path), bytes);
        EXPECT_EQ(QDir(m_folder.path()).entryList(QDir::Files | QDir::Hidden), QStringList{ u"settings.json"_s });
    }
}

TEST_F(UserDefaultsTest, ABrokenFileThatCannotBeKeptStaysInPlace)
{
    ASSERT_TRUE(QDir(m_folder.path()).mkdir(u"settings.json.bak"_s));
    writeFile("broken");

    EXPECT_FALSE(m_defaults.store({ { u"Address"_s, u"host"_s } }));

    EXPECT_EQ(contents(m_path), "broken");
}

TEST_F(UserDefaultsTest, AStoreIntoAPlaceThatIsNoFolderFails)
{
    writeFile("{}");
    UserDefaults below(m_path + u"/settings.json"_s);

    EXPECT_TRUE(below.string(u"Address"_s).isNull());
    EXPECT_FALSE(below.store({ { u"Address"_s, u"host"_s } }));
    EXPECT_EQ(contents(m_path), "{}");
}

TEST_F(UserDefaultsTest, MoreThanCouldBeReadBackIsNotStored)
{
    ASSERT_TRUE(m_defaults.store({ { u"Address"_s, u"host"_s } }));

    EXPECT_FALSE(m_defaults.store({ { u"Username"_s, QString(mebibyte, u'a') } }));

    EXPECT_EQ(m_defaults.string(u"Address"_s), u"host"_s);
}

TEST_F(UserDefaultsTest, WhoJustLooksIntoAFileLeavesItAsItIs)
{
    writeFile(R"({"Address": "host"})");
    ASSERT_EQ(chmod(QFile::encodeName(m_path).constData(), 0644), 0);

    EXPECT_EQ(UserDefaults::valuesIn(m_path), (QJsonObject{ { u"Address"_s, u"host"_s } }));
    EXPECT_EQ(mode(m_path), 0644);
    writeFile("[]");
    EXPECT_EQ(UserDefaults::valuesIn(m_path), std::nullopt);
    writeFile("{" + QByteArray(mebibyte, ' ') + "}");
    EXPECT_EQ(UserDefaults::valuesIn(m_path), std::nullopt);
    EXPECT_EQ(UserDefaults::valuesIn(m_folder.path()), std::nullopt);
}

TEST_F(UserDefaultsTest, ALinkStaysAndTheFileThatItLeadsToIsReplaced)
{
    const QString target = m_folder.filePath(u"elsewhere.json"_s);
    writeFileAt(target, R"({"Address": "host"})");
    ASSERT_TRUE(QFile::link(target, m_path));
    EXPECT_EQ(m_defaults.string(u"Address"_s), u"host"_s);

    ASSERT_TRUE(m_defaults.store({ { u"Username"_s, u"me"_s } }));

    EXPECT_TRUE(QFileInfo(m_path).isSymLink());
    EXPECT_EQ(UserDefaults(target).string(u"Username"_s), u"me"_s);
    EXPECT_EQ(m_defaults.string(u"Address"_s), u"host"_s);
    EXPECT_EQ(mode(target), 0600);
}

TEST_F(UserDefaultsTest, ALinkToNothingYetIsStoredThrough)
{
    const QString target = m_folder.filePath(u"folder/elsewhere.json"_s);
    ASSERT_TRUE(QFile::link(target, m_path));
    EXPECT_TRUE(m_defaults.string(u"Address"_s).isNull());

    ASSERT_TRUE(m_defaults.store({ { u"Address"_s, u"host"_s } }));

    EXPECT_TRUE(QFileInfo(m_path).isSymLink());
    EXPECT_EQ(UserDefaults(target).string(u"Address"_s), u"host"_s);
}

TEST_F(UserDefaultsTest, WhatKilledStoresHaveLeftIsRemovedWhereALinkLeadsTo)
{
    ASSERT_TRUE(QDir(m_folder.path()).mkdir(u"far"_s));
    ASSERT_TRUE(QFile::link(m_folder.filePath(u"far/elsewhere.json"_s), m_path));
    writeFileAt(m_folder.filePath(u"far/.elsewhere.json.unfinished-aB3dEf"_s), "secret");

    m_defaults.removeUnfinishedStores();

    EXPECT_EQ(QDir(m_folder.filePath(u"far"_s)).entryList(QDir::Files | QDir::Hidden), QStringList());
}

TEST_F(UserDefaultsTest, AChangeOfALinksTargetIsSeen)
{
    const QString target = m_folder.filePath(u"elsewhere.json"_s);
    writeFileAt(target, R"({"Address": "one"})");
    ASSERT_TRUE(QFile::link(target, m_path));
    EXPECT_EQ(m_defaults.string(u"Address"_s), u"one"_s);

    writeFileAt(target, R"({"Address": "two"})");

    EXPECT_EQ(m_defaults.string(u"Address"_s), u"two"_s);
}

TEST_F(UserDefaultsTest, ALinkThatLeadsBackToItselfIsBroken)
{
    ASSERT_TRUE(QFile::link(m_path, m_path));
    EXPECT_TRUE(m_defaults.string(u"Address"_s).isNull());

    ASSERT_TRUE(m_defaults.store({ { u"Address"_s, u"host"_s } }));

    EXPECT_EQ(m_defaults.string(u"Address"_s), u"host"_s);
    EXPECT_TRUE(QFileInfo(m_backup).isSymLink());
}

TEST_F(UserDefaultsTest, EachChangeThatBreaksTheFileIsReportedOnceFromTheLoop)
{
    int reports = 0;
    m_defaults.setBrokenFileHandler([&reports] { ++reports; });
    writeFile("broken");
    EXPECT_TRUE(m_defaults.string(u"Address"_s).isNull());
    EXPECT_EQ(reports, 0);

    ASSERT_TRUE(waitFor([&] { return m_defaults.string(u"Address"_s).isNull() && reports == 1; }));
    writeFile("broken again");
    EXPECT_TRUE(m_defaults.string(u"Address"_s).isNull());
    ASSERT_TRUE(waitFor([&] { return m_defaults.string(u"Address"_s).isNull() && reports == 2; }));

    EXPECT_TRUE(m_defaults.string(u"Address"_s).isNull());
    drainEventLoop();
    EXPECT_EQ(reports, 2);
}

TEST_F(UserDefaultsTest, AFileThatMustBeThereIsBrokenAndReportedWhileItIsNotAndIsStoredAnew)
{
    UserDefaults defaults(m_path, UserDefaults::Absence::IsBroken);
    int reports = 0;
    defaults.setBrokenFileHandler([&reports] { ++reports; });

    EXPECT_FALSE(defaults.isReadable());
    ASSERT_TRUE(waitFor([&] { return !defaults.isReadable() && reports == 1; }));
    ASSERT_TRUE(defaults.store({ { u"Address"_s, u"host"_s } }));
    EXPECT_TRUE(defaults.isReadable());
    EXPECT_FALSE(QFileInfo::exists(m_backup));
    ASSERT_TRUE(QFile::remove(m_path));
    ASSERT_TRUE(waitFor([&] { return !defaults.isReadable() && reports == 2; }));
}

TEST_F(UserDefaultsTest, AFileThatWasBrokenBeforeTheHandlerCameIsReported)
{
    writeFile("broken");
    EXPECT_TRUE(m_defaults.string(u"Address"_s).isNull());
    int reports = 0;

    m_defaults.setBrokenFileHandler([&reports] { ++reports; });

    EXPECT_TRUE(waitFor([&reports] { return reports == 1; }));
}

TEST_F(UserDefaultsTest, AFileThatIsWholeAgainAtOnceIsNotReported)
{
    int reports = 0;
    m_defaults.setBrokenFileHandler([&reports] { ++reports; });
    writeFile("");
    EXPECT_TRUE(m_defaults.string(u"Address"_s).isNull());

    writeFile(R"({"Address": "host"})");
    // Another broken file, noticed later, is reported when the first would long have been.
    const QString otherPath = m_folder.filePath(u"other.json"_s);
    writeFileAt(otherPath, "broken");
    UserDefaults other(otherPath);
    int otherReports = 0;
    other.setBrokenFileHandler([&otherReports] { ++otherReports; });
    EXPECT_TRUE(other.string(u"Address"_s).isNull());
    ASSERT_TRUE(waitFor([&otherReports] { return otherReports == 1; }));

    EXPECT_EQ(reports, 0);
}

TEST_F(UserDefaultsTest, NothingIsReportedForDefaultsThatAreGone)
{
    int reports = 0;
    writeFile("broken");
    {
        UserDefaults gone(m_path);
        gone.setBrokenFileHandler([&reports] { ++reports; });
        EXPECT_TRUE(gone.string(u"Address"_s).isNull());
    }
    int later = 0;
    m_defaults.setBrokenFileHandler([&later] { ++later; });
    EXPECT_TRUE(m_defaults.string(u"Address"_s).isNull());

    ASSERT_TRUE(waitFor([&later] { return later == 1; }));

    EXPECT_EQ(reports, 0);
}

} // namespace
