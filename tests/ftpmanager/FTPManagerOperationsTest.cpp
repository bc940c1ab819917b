#include "FTPManagerPrivate.h"
#include "FakeFTPStream.h"
#include "FileOfBytes.h"
#include "FileURL.h"
#include "LocalPath.h"
#include "LogRecorder.h"
#include "Printers.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

using enum FTPStreamEvent;
using Kind = FakeFTPStream::Kind;

class FTPManagerOperationsTest : public ::testing::Test {
protected:
    using Operation = std::function<bool(const FMServer*)>;

    /// Every public operation with arguments that are fine.
    std::vector<Operation> operations()
    {
        return {
            [this](const FMServer* server) { return m_manager.uploadData("x", u"name"_s, server); },
            [this](const FMServer* server) { return m_manager.uploadFile(localFile("f", "x"), server); },
            [this](const FMServer* server) { return m_manager.createNewFolder(u"name"_s, server); },
            [this](const FMServer* server) { return m_manager.contentsOfServer(server).has_value(); },
            [this](const FMServer* server) { return m_manager.downloadFile(u"name"_s, directoryURL(), server); },
            [this](const FMServer* server) { return m_manager.deleteFileNamed(u"a.txt"_s, server); },
            [this](const FMServer* server) { return m_manager.deleteFile(u"a.txt"_s, server); },
            [this](const FMServer* server) { return m_manager.chmodFileNamed(u"a.txt"_s, 644, server); },
            [this](const FMServer* server) { return m_manager.checkLogin(server); },
        };
    }

    QUrl localFile(const QString& name, const QByteArray& contents) const
    {
        const QString path = m_directory.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(contents);
        return QUrl::fromLocalFile(path);
    }
    QUrl localFile(const char* name, const QByteArray& contents) const
    {
        return localFile(QString::fromUtf8(name), contents);
    }
    QUrl directoryURL() const { return QUrl::fromLocalFile(m_directory.path()); }

    std::optional<QList<ListingEntry>> list(const QByteArray& listing)
    {
        m_streams.next.readAnswers.clear();
        if (!listing.isEmpty()) {
            m_streams.next.readAnswers = { listing };
        }
        m_streams.next.turns.assign(static_cast<size_t>(listing.size() / 32768) + 2, { HasBytesAvailable });
        return m_manager.contentsOfServer(m_server.get());
    }

    /// What a stream is told of the record, before anything else.
    const QStringList m_login{ u"setUserName user"_s, u"setPassword word"_s };

    QTemporaryDir m_directory;
    std::shared_ptr<FMServer> m_server = FMServer::serverWithDestination(u"host/dir"_s, u"user"_s, u"word"_s);
    FakeStreamFactory m_streams;
    FTPManager m_manager = managerOn(m_streams);
};

TEST_F(FTPManagerOperationsTest, NoRecordIsRefusedByEveryOperation)
{
    for (const Operation& operation : operations()) {
        const LogRecorder log;

        EXPECT_FALSE(operation(nullptr));

        EXPECT_EQ(log.lines(), QStringList{ u"FMServer check failed: server cannot be nil"_s });
    }
    EXPECT_TRUE(m_streams.streams().empty());
}

TEST_F(FTPManagerOperationsTest, AnIncompleteRecordIsRefusedByEveryOperationWithALineForEachFault)
{
    FMServer server;
    server.setPort(0);
    for (const Operation& operation : operations()) {
        const LogRecorder log;

        EXPECT_FALSE(operation(&server));

        EXPECT_EQ(log.lines(),
                  (QStringList{ u"FMServer check failed: destination cannot be nil"_s,
                                u"FMServer check failed: username cannot be nil"_s,
                                u"FMServer check failed: password cannot be nil"_s,
                                u"FMServer check failed: port cannot be negative"_s }));
    }
    EXPECT_TRUE(m_streams.streams().empty());
}

TEST_F(FTPManagerOperationsTest, NoDestinationAndNoUserNameAreLoggedInThisOrder)
{
    const auto server = FMServer::serverWithDestination(QString(), QString(), u"word"_s);
    const LogRecorder log;

    EXPECT_FALSE(m_manager.checkLogin(server.get()));

    EXPECT_EQ(log.lines(),
              (QStringList{ u"FMServer check failed: destination cannot be nil"_s,
                            u"FMServer check failed: username cannot be nil"_s }));
}

TEST_F(FTPManagerOperationsTest, APortBelowOneIsRefusedAndOneIsNot)
{
    for (const qint32 port : { 0, -5 }) {
        m_server->setPort(port);
        const LogRecorder log;

        EXPECT_FALSE(m_manager.createNewFolder(u"name"_s, m_server.get()));

        EXPECT_EQ(log.lines(), QStringList{ u"FMServer check failed: port cannot be negative"_s });
    }
    m_server->setPort(1);
    m_streams.next.turns = { { EndEncountered } };
    EXPECT_TRUE(m_manager.createNewFolder(u"name"_s, m_server.get()));
}

TEST_F(FTPManagerOperationsTest, EmptyTextsOfARecordAreAccepted)
{
    const auto server = FMServer::serverWithDestination(u""_s, u""_s, u""_s);
    m_streams.next.turns = { { EndEncountered } };
    const LogRecorder log;

    EXPECT_TRUE(m_manager.createNewFolder(u"name"_s, server.get()));

    EXPECT_EQ(log.lines(), QStringList());
}

TEST_F(FTPManagerOperationsTest, AnAnonymousRecordIsAccepted)
{
    const auto server = FMServer::anonymousServerWithDestination(u"host"_s);
    m_streams.next.turns = { { EndEncountered } };
    const LogRecorder log;

    EXPECT_TRUE(m_manager.createNewFolder(u"name"_s, server.get()));

    EXPECT_EQ(log.lines(), QStringList());
    EXPECT_EQ(m_streams.last().calls.first(2), (QStringList{ u"setUserName anonymous"_s, u"setPassword "_s }));
}

TEST_F(FTPManagerOperationsTest, UnusableArgumentsAreRefusedWithoutAWordOrAStream)
{
    const LogRecorder log;
    const QUrl missing = QUrl::fromLocalFile(m_directory.filePath(u"missing"_s));

    EXPECT_FALSE(m_manager.uploadData(QByteArray(), u"name"_s, m_server.get()));
    EXPECT_FALSE(m_manager.uploadFile(QUrl(), m_server.get()));
    EXPECT_FALSE(m_manager.uploadFile(missing, m_server.get()));
    EXPECT_FALSE(m_manager.uploadFile(directoryURL(), m_server.get()));
    EXPECT_FALSE(m_manager.createNewFolder(QString(), m_server.get()));
    EXPECT_FALSE(m_manager.createNewFolder(u""_s, m_server.get()));
    EXPECT_FALSE(m_manager.downloadFile(QString(), directoryURL(), m_server.get()));
    EXPECT_FALSE(m_manager.downloadFile(u""_s, directoryURL(), m_server.get()));
    EXPECT_FALSE(m_manager.downloadFile(u"name"_s, QUrl(), m_server.get()));
    EXPECT_FALSE(m_manager.downloadFile(u"name"_s, missing, m_server.get()));
    EXPECT_FALSE(m_manager.deleteFileNamed(QString(), m_server.get()));
    EXPECT_FALSE(m_manager.deleteFile(QString(), m_server.get()));
    EXPECT_FALSE(m_manager.chmodFileNamed(QString(), 644, m_server.get()));
    EXPECT_FALSE(m_manager.chmodFileNamed(u"name"_s, 778, m_server.get()));

    EXPECT_TRUE(m_streams.streams().empty());
    EXPECT_EQ(log.lines(), QStringList());
}

TEST_F(FTPManagerOperationsTest, TheRecordIsCheckedBeforeTheOtherArguments)
{
    for (const Operation& operation : std::vector<Operation>{
             [this](const FMServer* server) { return m_manager.uploadData(QByteArray(), QString(), server); },
             [this](const FMServer* server) { return m_manager.uploadFile(QUrl(), server); },
             [this](const FMServer* server) { return m_manager.uploadFile(directoryURL(), server); },
             [this](const FMServer* server) { return m_manager.createNewFolder(QString(), server); },
             [this](const FMServer* server) { return m_manager.downloadFile(QString(), directoryURL(), server); },
             [this](const FMServer* server) { return m_manager.downloadFile(u"name"_s, QUrl(), server); },
             [this](const FMServer* server) { return m_manager.deleteFileNamed(QString(), server); },
             [this](const FMServer* server) { return m_manager.deleteFile(QString(), server); },
             [this](const FMServer* server) { return m_manager.chmodFileNamed(QString(), 644, server); },
             [this](const FMServer* server) { return m_manager.chmodFileNamed(u"name"_s, 778, server); },
         }) {
        const LogRecorder log;

        EXPECT_FALSE(operation(nullptr));

        EXPECT_EQ(log.lines(), QStringList{ u"FMServer check failed: server cannot be nil"_s });
    }
}

TEST_F(FTPManagerOperationsTest, AFileThatDoesNotOpenForReadingIsRefusedWithoutAWordOrAStream)
{
    const QString pipe = m_directory.filePath(u"pipe"_s);
    ASSERT_EQ(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    m_streams.next.turns = { { HasSpaceAvailable } };
    const LogRecorder log;

    EXPECT_FALSE(m_manager.uploadFile(QUrl::fromLocalFile(pipe), m_server.get()));

    EXPECT_TRUE(m_streams.streams().empty());
    EXPECT_EQ(log.lines(), QStringList());
}

TEST_F(FTPManagerOperationsTest, ANameThatLeadsOutOfTheLocalFolderIsRefused)
{
    for (const QString& name : { u".."_s, u"../name"_s, u"a/../../name"_s, u"na\0me"_s }) {
        EXPECT_FALSE(m_manager.downloadFile(name, directoryURL(), m_server.get()));
    }
    EXPECT_TRUE(m_streams.streams().empty());
}

TEST_F(FTPManagerOperationsTest, DataIsUploadedUnderItsName)
{
    m_streams.next.turns = { { HasSpaceAvailable }, { HasSpaceAvailable } };

    EXPECT_TRUE(m_manager.uploadData("hello", u"my file #1.txt"_s, m_server.get()));

    const FakeFTPStream& stream = m_streams.last();
    EXPECT_EQ(stream.kind, Kind::Upload);
    EXPECT_EQ(stream.location, u"ftp://host/dir/my%20file%20%231.txt"_s);
    EXPECT_EQ(stream.length, 5);
    EXPECT_EQ(stream.calls, m_login + QStringList({ u"open"_s, u"write 5"_s, u"close"_s }));
    EXPECT_EQ(stream.written, "hello"_ba);
}

TEST_F(FTPManagerOperationsTest, AFileIsUploadedUnderItsOwnName)
{
    m_streams.next.turns = { { HasSpaceAvailable }, { HasSpaceAvailable } };
    m_server->setPort(2121);

    EXPECT_TRUE(m_manager.uploadFile(localFile("50% caf\xC3\xA9.txt", "hello"), m_server.get()));

    EXPECT_EQ(m_streams.last().kind, Kind::Upload);
    EXPECT_EQ(m_streams.last().location, u"ftp://host:2121/dir/50%25%20caf%C3%A9.txt"_s);
    EXPECT_EQ(m_streams.last().length, 5);
    EXPECT_EQ(m_streams.last().written, "hello"_ba);
}

TEST_F(FTPManagerOperationsTest, AFileWhoseNameIsNotUtf8IsUploadedUnderItsBytes)
{
    const FileOfBytes file(m_directory.path(), "caf\xe9.txt", "hello");
    const QUrl url(fileURI(LocalPath::fromBytes(file.path())));
    m_streams.next.turns = { { HasSpaceAvailable }, { HasSpaceAvailable } };

    EXPECT_EQ(m_manager.fileSizeOf(url), 5U);
    EXPECT_TRUE(m_manager.uploadFile(url, m_server.get()));

    EXPECT_EQ(m_streams.last().location, u"ftp://host/dir/caf%E9.txt"_s);
    EXPECT_EQ(m_streams.last().written, "hello"_ba);
}

TEST_F(FTPManagerOperationsTest, AFolderIsCreatedAtALocationThatEndsInASlash)
{
    m_streams.next.turns = { { EndEncountered } };

    EXPECT_TRUE(m_manager.createNewFolder(u"new folder"_s, m_server.get()));

    EXPECT_EQ(m_streams.last().kind, Kind::Folder);
    EXPECT_EQ(m_streams.last().location, u"ftp://host/dir/new%20folder/"_s);
}

TEST_F(FTPManagerOperationsTest, AFolderIsListedAtALocationThatEndsInOneSlash)
{
    struct Row {
        QString destination;
        QString location;
    };
    for (const Row& row : {
             Row{ u"host"_s, u"ftp://host/"_s },
             Row{ u"host/"_s, u"ftp://host/"_s },
             Row{ u"host/dir"_s, u"ftp://host/dir/"_s },
             Row{ u"ftp://host/a/b/"_s, u"ftp://host/a/b/"_s },
         }) {
        m_server->setDestination(row.destination);

        EXPECT_TRUE(list(""));

        EXPECT_EQ(m_streams.last().kind, Kind::Listing);
        EXPECT_EQ(m_streams.last().location, row.location);
    }
}

TEST_F(FTPManagerOperationsTest, ADownloadAsksForTheSizeAndOverwrites)
{
    localFile("name", "an old and longer text");
    m_streams.next.readAnswers = { "hello"_ba };
    m_streams.next.turns = { { OpenCompleted }, { HasBytesAvailable }, { HasBytesAvailable } };

    EXPECT_TRUE(m_manager.downloadFile(u"name"_s, directoryURL(), m_server.get()));

    EXPECT_EQ(m_streams.last().kind, Kind::Download);
    EXPECT_EQ(m_streams.last().location, u"ftp://host/dir/name"_s);
    EXPECT_EQ(m_streams.last().calls, m_login + QStringList({ u"setFetchResourceInfo"_s, u"open"_s, u"close"_s }));
    QFile file(m_directory.filePath(u"name"_s));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), "hello"_ba);
}

TEST_F(FTPManagerOperationsTest, ADownloadThatFailsMidwayLeavesNoFile)
{
    m_streams.next.readAnswers = { "hel"_ba };
    m_streams.next.turns = { { OpenCompleted }, { HasBytesAvailable }, { ErrorOccurred } };
    const LogRecorder log;

    EXPECT_FALSE(m_manager.downloadFile(u"name"_s, directoryURL(), m_server.get()));

    EXPECT_FALSE(QFile::exists(m_directory.filePath(u"name"_s)));
}

TEST_F(FTPManagerOperationsTest, ADownloadThatFailsRemovesNoOtherFile)
{
    QFile other(m_directory.filePath(u"name"_s));
    ASSERT_TRUE(other.open(QIODevice::WriteOnly));
    m_streams.next.turns = { { ErrorOccurred } };
    const LogRecorder log;

    EXPECT_FALSE(m_manager.downloadFile(u"name"_s + QChar::Null, directoryURL(), m_server.get()));

    EXPECT_TRUE(other.exists());
}

TEST_F(FTPManagerOperationsTest, ADownloadRemovesNothingThatItDidNotWrite)
{
    const QByteArray pipe = QFile::encodeName(m_directory.filePath(u"name"_s));
    ASSERT_EQ(mkfifo(pipe.constData(), 0600), 0);
    const LogRecorder log;
    m_streams.next.turns = { { ErrorOccurred } };
    EXPECT_FALSE(m_manager.downloadFile(u"name"_s, directoryURL(), m_server.get()));
    EXPECT_EQ(access(pipe.constData(), F_OK), 0);

    localFile("a\rb", "mine"); // A name that cannot be sent.
    m_streams.next.turns = { { ErrorOccurred } };
    EXPECT_FALSE(m_manager.downloadFile(u"a\rb"_s, directoryURL(), m_server.get()));
    EXPECT_EQ(QFileInfo(m_directory.filePath(u"a\rb"_s)).size(), 4);
}

TEST_F(FTPManagerOperationsTest, ADownloadTakesThePlaceOfALinkAndWritesNothingWhereItLeads)
{
    const QString link = m_directory.filePath(u"name"_s);
    const QString elsewhere = m_directory.filePath(u"elsewhere"_s);
    ASSERT_TRUE(QFile::link(elsewhere, link));
    m_streams.next.readAnswers = { "hello"_ba };
    m_streams.next.turns = { { OpenCompleted }, { HasBytesAvailable }, { HasBytesAvailable } };

    EXPECT_TRUE(m_manager.downloadFile(u"name"_s, directoryURL(), m_server.get()));

    EXPECT_FALSE(QFile::exists(elsewhere));
    EXPECT_FALSE(QFileInfo(link).isSymLink());
    EXPECT_EQ(QFileInfo(link).size(), 5);
}

TEST_F(FTPManagerOperationsTest, AStreamThatCannotBeMadeFailsWithoutAWord)
{
    m_streams.refusesCreation = true;
    const LogRecorder log;
    const std::vector<Operation> all = operations();
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_FALSE(all[i](m_server.get()));
    }

    EXPECT_EQ(m_streams.streams().size(), 5U);
    EXPECT_EQ(log.lines(), QStringList());
}

TEST_F(FTPManagerOperationsTest, ADestinationThatIsNoLocationFailsWithoutAStream)
{
    m_server->setDestination(u"my host/dir"_s);
    const LogRecorder log;
    const std::vector<Operation> all = operations();
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_FALSE(all[i](m_server.get()));
    }

    EXPECT_TRUE(m_streams.streams().empty());
    EXPECT_EQ(log.lines(), QStringList());
}

TEST_F(FTPManagerOperationsTest, ARefusedLoginFailsBeforeTheStreamIsOpened)
{
    const std::vector<Operation> all = operations();
    for (size_t i = 0; i < 5; ++i) {
        m_streams.next.refusesUserName = true;
        EXPECT_FALSE(all[i](m_server.get()));
        EXPECT_EQ(m_streams.last().calls, m_login.first(1));

        m_streams.next.refusesUserName = false;
        m_streams.next.refusesPassword = true;
        EXPECT_FALSE(all[i](m_server.get()));
        EXPECT_EQ(m_streams.last().calls, m_login);
        m_streams.next.refusesPassword = false;
    }
}

TEST_F(FTPManagerOperationsTest, ADownloadThatFailsBeforeItRunsLeavesTheEmptyFile)
{
    m_streams.next.refusesFetchResourceInfo = true;

    EXPECT_FALSE(m_manager.downloadFile(u"name"_s, directoryURL(), m_server.get()));

    EXPECT_TRUE(QFile::exists(m_directory.filePath(u"name"_s)));
    EXPECT_FALSE(m_streams.last().wasOpened());
}

TEST_F(FTPManagerOperationsTest, AnEmptyListingHasNoEntries)
{
    const auto entries = list("");

    ASSERT_TRUE(entries);
    EXPECT_TRUE(entries->isEmpty());
}

TEST_F(FTPManagerOperationsTest, NamesInUtf8AreRepairedAndOthersMissing)
{
    const auto entries = list("total 2\r\n"
                              "-rw-r--r-- 1 me us 7 2024-01-12 15:04:05 +0000 caf\xC3\xA9\r\n"
                              "drwxr-x--- 1 me us 8 2024-01-12 15:04:05 +0000 caf\xE9\r\n"
                              "unfinished");

    ASSERT_TRUE(entries);
    ASSERT_EQ(entries->size(), 2);
    const ListingEntry& first = entries->at(0);
    EXPECT_EQ(first.name, u"café"_s);
    EXPECT_EQ(first.type, ListingEntry::plainFileType);
    EXPECT_EQ(first.size, 7);
    EXPECT_EQ(first.mode, 0644);
    EXPECT_EQ(first.modDate, 1705071845000);
    EXPECT_EQ(first.owner, u"me"_s);
    EXPECT_EQ(first.group, u"us"_s);
    EXPECT_TRUE(entries->at(1).name.isNull());
    EXPECT_EQ(entries->at(1).rawName, "caf\xE9"_ba);
    EXPECT_EQ(entries->at(1).type, ListingEntry::folderType);
}

TEST_F(FTPManagerOperationsTest, AListingThatCannotBeReadIsNothing)
{
    const LogRecorder log;

    EXPECT_FALSE(list("-rw-r--r-- 1 a b 1 Jan 12 15:04 first\n" + QByteArray(1'100'000, 'x')));

    EXPECT_EQ(log.lines(), QStringList());
}

TEST_F(FTPManagerOperationsTest, AListingOfAHundredThousandEntriesIsRead)
{
    QByteArray listing;
    for (int i = 0; i < 100'000; ++i) {
        listing += "-rw-r--r-- 1 a b 1 Jan 12 15:04 name " + QByteArray::number(i) + "\r\n";
    }

    const auto entries = list(listing);

    ASSERT_TRUE(entries);
    EXPECT_EQ(entries->size(), 100'000);
    EXPECT_EQ(entries->last().name, u"name 99999"_s);
}

TEST_F(FTPManagerOperationsTest, KnowsTheSizeOfLocalFiles)
{
    EXPECT_EQ(m_manager.fileSizeOf(localFile("f", "hello")), 5U);
    EXPECT_EQ(m_manager.fileSizeOf(localFile("empty", "")), 0U);
    EXPECT_EQ(m_manager.fileSizeOf(QUrl::fromLocalFile(m_directory.filePath(u"missing"_s))), 0U);
    EXPECT_EQ(m_manager.fileSizeOf(QUrl()), 0U);
}

} // namespace
