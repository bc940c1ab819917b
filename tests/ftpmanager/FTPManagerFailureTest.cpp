#include "CheckRows.h"
#include "ControlServer.h"
#include "FTPManagerPrivate.h"
#include "FakeFTPStream.h"
#include "FaultyFileCalls.h"
#include "LogRecorder.h"
#include "Printers.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <functional>
#include <future>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

// What lastFailure() says.

namespace {

using enum FTPStreamEvent;
using Kind = FMFailure::Kind;
using Stage = FTPStreamError::Stage;
using Domain = FTPStreamError::Domain;

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

class FTPManagerFailureTest : public ::testing::Test {
protected:
    Kind kind() const { return m_manager.lastFailure().kind; }
    QUrl directory() const { return QUrl::fromLocalFile(m_directory.path()); }
    QUrl localFile(const QString& name) const { return QUrl::fromLocalFile(m_directory.filePath(name)); }

    QTemporaryDir m_directory;
    std::shared_ptr<FMServer> m_server = FMServer::serverWithDestination(u"host/dir"_s, u"user"_s, u"word"_s);
    FakeStreamFactory m_streams;
    FTPManager m_manager = managerOn(m_streams);
    LogRecorder m_log;
};

TEST_F(FTPManagerFailureTest, ThereIsNoneAtFirst)
{
    EXPECT_EQ(kind(), Kind::None);
}

TEST_F(FTPManagerFailureTest, TheErrorOfAStreamIsTold)
{
    struct Row {
        Domain domain;
        Stage stage;
        FTPEncryption encryption;
        Kind kind;
    };
    const FTPEncryption clear = FTPEncryption::None;
    for (const Row& row : { Row{ Domain::Other, Stage::Resolving, clear, Kind::NoSuchHost },
                            Row{ Domain::Other, Stage::Connecting, clear, Kind::CannotConnect },
                            Row{ Domain::Silent, Stage::Connecting, clear, Kind::CannotConnect },
                            Row{ Domain::Other, Stage::Securing, clear, Kind::Lost },
                            Row{ Domain::Other, Stage::Securing, FTPEncryption::Required, Kind::NotEncrypted },
                            Row{ Domain::Silent, Stage::Securing, FTPEncryption::Required, Kind::Silent },
                            Row{ Domain::FTP, Stage::Securing, clear, Kind::LoginRefused },
                            Row{ Domain::FTP, Stage::LoggingIn, clear, Kind::LoginRefused },
                            Row{ Domain::FTP, Stage::EnteringFolder, clear, Kind::FolderRefused },
                            Row{ Domain::FTP, Stage::Acting, clear, Kind::Refused },
                            Row{ Domain::Silent, Stage::Acting, clear, Kind::Silent },
                            Row{ Domain::Other, Stage::Acting, clear, Kind::Lost },
                            Row{ Domain::Certificate, Stage::Securing, clear, Kind::Certificate },
                            Row{ Domain::Unsendable, Stage::Connecting, clear, Kind::Unusable } }) {
        const int code = row.domain == Domain::FTP ? 550 : 0;
        m_server->setEncryption(row.encryption);
        m_streams.next.error = { .domain = row.domain, .code = code, .stage = row.stage };
        m_streams.next.reply = u"550 no"_s;
        m_streams.next.turns = { { ErrorOccurred } };

        EXPECT_FALSE(m_manager.contentsOfServer(m_server.get()));

        const FMFailure failure = m_manager.lastFailure();
        EXPECT_EQ(failure.kind, row.kind) << static_cast<int>(row.domain) << static_cast<int>(row.stage);
        EXPECT_EQ(failure.code, code);
        EXPECT_EQ(failure.words, code != 0 ? u"550 no"_s : QString());
    }
}

TEST_F(FTPManagerFailureTest, ASuccessForgetsIt)
{
    EXPECT_FALSE(m_manager.createNewFolder(QString(), m_server.get()));
    EXPECT_EQ(kind(), Kind::Unusable);
    m_streams.next.turns = { { EndEncountered } };

    EXPECT_TRUE(m_manager.createNewFolder(u"new"_s, m_server.get()));

    EXPECT_EQ(kind(), Kind::None);
}

TEST_F(FTPManagerFailureTest, WhatCannotBeDoneIsUnusable)
{
    const FMServer empty;
    const std::vector<std::function<bool()>> operations{
        [this] { return m_manager.uploadData("x", u"a"_s, nullptr); },
        [this, &empty] { return m_manager.contentsOfServer(&empty).has_value(); },
        [this, &empty] { return m_manager.checkLogin(&empty); },
        [this] { return m_manager.uploadData(QByteArray(), u"a"_s, m_server.get()); },
        [this] { return m_manager.uploadFile(QUrl(), m_server.get()); },
        [this] { return m_manager.downloadFile(u"../a"_s, directory(), m_server.get()); },
        [this] { return m_manager.deleteFileNamed(QString(), m_server.get()); },
        [this] { return m_manager.deleteItemNamed(QByteArray(), FTPManager::ItemKind::File, m_server.get()); },
        [this] { return m_manager.chmodFileNamed(u"a"_s, 778, m_server.get()); },
        [this] { return m_manager.deleteFileNamed(u"a\r\nb"_s, m_server.get()); },
        [this] {
            m_streams.next.refusesUserName = true;
            return m_manager.contentsOfServer(m_server.get()).has_value();
        },
    };
    for (const auto& operation : operations) {
        m_streams.next.turns = { { EndEncountered } };
        EXPECT_FALSE(operation());

        EXPECT_EQ(kind(), Kind::Unusable) << &operation - operations.data();
    }
}

TEST_F(FTPManagerFailureTest, AnOperationThatDoesNotBeginForgetsTheEarlierOne)
{
    const auto leaveUndecided = [this] {
        m_streams.next.error = { .domain = Domain::Other, .isUndecided = true, .stage = Stage::Acting };
        m_streams.next.turns = { { ErrorOccurred } };
        EXPECT_FALSE(m_manager.uploadData("x", u"a"_s, m_server.get()));
        EXPECT_TRUE(m_manager.isUndecided());
    };
    const std::vector<std::function<bool()>> operations{
        [this] { return m_manager.contentsOfServer(nullptr).has_value(); },
        [this] { return m_manager.uploadData(QByteArray(), u"a"_s, m_server.get()); },
        [this] { return m_manager.uploadFile(localFile(u"missing"_s), m_server.get()); },
        [this] { return m_manager.downloadFile(u"a"_s, localFile(u"missing"_s), m_server.get()); },
    };
    for (const auto& operation : operations) {
        leaveUndecided();
        EXPECT_FALSE(operation());

        EXPECT_FALSE(m_manager.isUndecided()) << &operation - operations.data();
    }
}

TEST_F(FTPManagerFailureTest, LocalFilesAreToldApartFromTheServer)
{
    EXPECT_FALSE(m_manager.uploadFile(localFile(u"missing"_s), m_server.get()));
    EXPECT_EQ(kind(), Kind::LocalFile);
    EXPECT_FALSE(m_manager.downloadFile(u"a"_s, localFile(u"missing"_s), m_server.get()));
    EXPECT_EQ(kind(), Kind::LocalFile);

    QTemporaryDir folder;
    QDir(folder.path()).mkdir(u"a"_s); // Which no file can take the place of.
    m_streams.next.readAnswers = { "bytes" };
    m_streams.next.turns = { { HasBytesAvailable } };
    EXPECT_FALSE(m_manager.downloadFile(u"a"_s, QUrl::fromLocalFile(folder.path()), m_server.get()));
    EXPECT_EQ(kind(), Kind::LocalFile);
}

TEST_F(FTPManagerFailureTest, AListingThatIsNoneIsUnreadable)
{
    m_streams.next.readAnswers = { QByteArray(33 << 20, 'x') + '\n' };
    m_streams.next.turns.assign((33 << 20) / 32768 + 3, { HasBytesAvailable });

    EXPECT_FALSE(m_manager.contentsOfServer(m_server.get()));

    EXPECT_EQ(kind(), Kind::Unreadable);
}

TEST_F(FTPManagerFailureTest, AnAbortedOperationHasNone)
{
    m_streams.next.turns = { { OpenCompleted } };
    m_streams.next.whenOver = [this](FakeFTPStream& /*stream*/) { m_manager.abort(); };

    EXPECT_TRUE(m_manager.contentsOfServer(m_server.get()));

    EXPECT_EQ(kind(), Kind::None);
}

/// What a conversation that a server answers with @p replies, and then closes, fails for.
FMFailure failureOf(const QByteArray& replies, bool isCareful)
{
    const ControlServer server([&replies](ControlPeer& peer) {
        peer.send(replies);
        peer.receiveUntil("QUIT\r\n");
    });
    const auto record = FMServer::serverWithDestination(u"127.0.0.1/dir"_s, u"user"_s, u"word"_s);
    record->setPort(server.port());
    record->setCareful(isCareful);
    FTPManager manager;
    EXPECT_FALSE(manager.deleteFileNamed(u"a.txt"_s, record.get()));
    return manager.lastFailure();
}

TEST(ConversationFailureTest, TheRefusedLineSaysWhatIsRefused)
{
    struct Row {
        QByteArray replies;
        Kind kind;
        QString words;
    };
    for (const Row& row :
         { Row{ "421 full\r\n", Kind::LoginRefused, u"421 full"_s },
           Row{ "220 hello\r\n530 who\r\n503 no\r\n530 no\r\n530 no\r\n", Kind::LoginRefused, u"530 who"_s },
           Row{ "220 hello\r\n331 and\r\n530 word is wrong\r\n", Kind::LoginRefused, u"530 **** is wrong"_s },
           Row{ "220 hello\r\n331 and\r\n230 in\r\n550 none\r\n", Kind::FolderRefused, u"550 none"_s },
           Row{ "220 hello\r\n331 and\r\n230 in\r\n250 there\r\n550-no\r\n550 way\r\n221 bye\r\n", Kind::Refused,
                u"550 way"_s },
           Row{ "220-hello\r\n5 users\r\n220 here\r\n331 and\r\n230 in\r\n250 there\r\n250 done\r\n221 bye\r\n",
                Kind::Refused, u"5 users"_s } }) {
        for (const bool isCareful : { false, true }) {
            const FMFailure failure = failureOf(row.replies, isCareful);
            EXPECT_EQ(failure.kind, row.kind) << row.replies.toStdString() << isCareful;
            EXPECT_EQ(failure.words, row.words) << isCareful;
            EXPECT_EQ(failure.code, row.words.startsWith(u"5 ") ? 0 : row.words.left(3).toInt());
        }
    }
}

TEST(ConversationFailureTest, ASilentServerIsToldApartFromOneThatIsNotThere)
{
    const auto record = FMServer::serverWithDestination(u"127.0.0.1"_s, u"user"_s, u"word"_s);
    FTPManager manager;
    {
        std::promise<void> hasEnded;
        const ControlServer server([&hasEnded](ControlPeer& /*peer*/) { hasEnded.get_future().wait(); });
        record->setPort(server.port());
        record->setTimeLimit(50ms);
        EXPECT_FALSE(manager.checkLogin(record.get()));
        EXPECT_EQ(manager.lastFailure().kind, Kind::Silent);
        hasEnded.set_value();
    }
    EXPECT_FALSE(manager.checkLogin(record.get()));
    EXPECT_EQ(manager.lastFailure().kind, Kind::CannotConnect);
    EXPECT_FALSE(manager.contentsOfServer(record.get()));
    EXPECT_EQ(manager.lastFailure().kind, Kind::CannotConnect);
    record->setDestination(u"no.such.host.invalid"_s);
    EXPECT_FALSE(manager.checkLogin(record.get()));
    EXPECT_EQ(manager.lastFailure().kind, Kind::NoSuchHost);
    EXPECT_FALSE(manager.contentsOfServer(record.get()));
    EXPECT_EQ(manager.lastFailure().kind, Kind::NoSuchHost);
}

// What is not sent, and what is not lost.

TEST_F(FTPManagerFailureTest, NoFileIsWrittenInTheFoldersPlaceNorOutsideOfIt)
{
    for (const QString& name : { QString(), u""_s, u"."_s, u".."_s, u"../a"_s, u"a/../../b"_s, u"a/"_s, u"./a"_s }) {
        EXPECT_FALSE(m_manager.uploadData("x", name, m_server.get())) << name.toStdString();
        EXPECT_EQ(kind(), Kind::Unusable);
        EXPECT_EQ(m_log.lines().value(0), generalFailure);
    }
    EXPECT_TRUE(m_streams.streams().empty());

    m_streams.next.turns = { { HasSpaceAvailable }, { HasSpaceAvailable } };
    EXPECT_TRUE(m_manager.uploadData("x", u"a/b..c"_s, m_server.get()));
}

TEST_F(FTPManagerFailureTest, AnOldFileIsKeptWhereThatIsAskedFor)
{
    for (const bool isKept : { false, true }) {
        QFile file(m_directory.filePath(u"a.txt"_s));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("old");
        file.close();
        m_manager.setKeepsOldFiles(isKept);
        EXPECT_EQ(m_manager.keepsOldFiles(), isKept);

        m_streams.next.readAnswers = { "new" };
        m_streams.next.turns = { { HasBytesAvailable }, { ErrorOccurred } };
        EXPECT_FALSE(m_manager.downloadFile(u"a.txt"_s, directory(), m_server.get()));

        EXPECT_EQ(QDir(m_directory.path()).entryList(QDir::Files), isKept ? QStringList{ u"a.txt"_s } : QStringList());
        if (isKept) {
            EXPECT_EQ(contentOf(file.fileName()), "old");
        }
    }
    m_streams.next.readAnswers = { "new" };
    m_streams.next.turns = { { HasBytesAvailable }, { HasBytesAvailable } };
    EXPECT_TRUE(m_manager.downloadFile(u"a.txt"_s, directory(), m_server.get()));
    EXPECT_EQ(contentOf(m_directory.filePath(u"a.txt"_s)), "new");
}

TEST_F(FTPManagerFailureTest, AnOldFileIsKeptWhereTheFolderTakesNoOther)
{
    QFile file(m_directory.filePath(u"a.txt"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("old");
    file.close();
    m_manager.setKeepsOldFiles(true);
    m_streams.next.readAnswers = { "new" };
    m_streams.next.turns = { { HasBytesAvailable }, { HasBytesAvailable } };
    {
        const FaultyFileCalls faults;
        FaultyFileCalls::failToCreate(EACCES);
        EXPECT_FALSE(m_manager.downloadFile(u"a.txt"_s, directory(), m_server.get()));
    }

    EXPECT_EQ(kind(), Kind::LocalFile);
    EXPECT_EQ(contentOf(file.fileName()), "old");
}

} // namespace
