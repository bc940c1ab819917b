#include "FTPManager.h"
#include "LogRecorder.h"
#include "Printers.h"
#include "ScriptedServer.h"
#include "WaitFor.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QStringList general{ u"ftp stream failed: general stream error (check credentials?)"_s };
/// An upload that fails while its bytes leave may see that by the write as well as by the report.
const QStringList whileWriting{ u"ftp stream failed: error while writing data"_s };

/// Aborts its manager when the first bytes have been sent.
class AbortingDelegate final : public FTPManagerDelegate {
public:
    explicit AbortingDelegate(FTPManager& manager)
        : m_manager(manager)
    {
    }

    void ftpManagerUploadProgressDidChange(const std::optional<FTPManagerProgress>& /*progress*/) override
    {
        m_manager.abort();
    }

private:
    FTPManager& m_manager;
};

/// The synchronous library against a server that misbehaves.
class FaultyServerManagerTest : public ::testing::Test {
protected:
    FaultyServerManagerTest()
    {
        QDir(m_server.root()).mkdir(u"folder"_s);
        m_server.putFile(u"folder/file.txt"_s, QByteArray(100'000, 'x'));
        m_record->setPort(m_server.port());
    }

    bool download()
    {
        return m_manager.downloadFile(u"file.txt"_s, QUrl::fromLocalFile(m_local.path()), m_record.get());
    }

    /// Runs @p operation on a thread of its own and aborts it from this one as soon as @p hasMoved.
    bool abortOnce(const std::function<bool()>& hasMoved, const std::function<bool()>& operation)
    {
        auto result = std::async(std::launch::async, operation);
        EXPECT_TRUE(waitFor(hasMoved));
        m_manager.abort();
        const bool isOver = waitFor([&result] { return result.wait_for(0s) == std::future_status::ready; });
        EXPECT_TRUE(isOver);
        if (!isOver) {
            m_server.stop();
        }
        return result.get();
    }

    ScriptedServer m_server;
    QTemporaryDir m_local;
    std::shared_ptr<FMServer> m_record = FMServer::serverWithDestination(u"127.0.0.1/folder"_s, u"anna"_s, u"secret"_s);
    FTPManager m_manager;
};

TEST_F(FaultyServerManagerTest, TransfersFailWithTheirLogLineAndTheNextOneWorks)
{
    struct Row {
        const char* name;
        ScriptedRule rule;
        std::function<bool()> operation;
        bool isUpload = false;
    };
    const auto upload = [this] { return m_manager.uploadData(QByteArray(500'000, 'x'), u"up"_s, m_record.get()); };
    const auto create = [this] { return m_manager.createNewFolder(u"made"_s, m_record.get()); };
    const auto list = [this] { return m_manager.contentsOfServer(m_record.get()).has_value(); };
    const auto fetch = [this] { return download(); };
    for (const Row& row : {
             Row{ "greeting refused", { .on = "connect", .steps = { "421 No", "close" } }, upload, true },
             Row{ "login refused", { .on = "PASS", .steps = { "530 No" } }, list },
             Row{ "folder refused", { .on = "CWD", .steps = { "550 No" } }, create },
             Row{ "upload refused", { .on = "STOR", .steps = { "553 No" } }, upload, true },
             Row{ "full in mid upload",
                  { .on = "STOR", .steps = { "150 Go", "read 9", "552 Full", "data-reset" } },
                  upload,
                  true },
             Row{ "not confirmed", { .on = "STOR", .steps = { "150 Go", "read", "close" } }, upload, true },
             Row{ "hung up", { .on = "STOR", .steps = { "reset" } }, upload, true },
             Row{ "download refused", { .on = "RETR", .steps = { "550 No" } }, fetch },
             Row{ "download cut short",
                  { .on = "RETR", .steps = { "150 Go", "write 9", "data-close", "226 Ok" } },
                  fetch },
             Row{ "download broken off", { .on = "RETR", .steps = { "150 Go", "write 9", "reset" } }, fetch },
             Row{ "listing refused", { .on = "LIST", .steps = { "450 No" } }, list },
             Row{ "listing broken off", { .on = "LIST", .steps = { "150 Go", "close" } }, list },
             Row{ "creation refused", { .on = "MKD", .steps = { "550 It exists" } }, create },
         }) {
        SCOPED_TRACE(row.name);
        m_server.add(row.rule);
        {
            const LogRecorder log;
            EXPECT_FALSE(row.operation());
            EXPECT_TRUE(log.lines() == general || (row.isUpload && log.lines() == whileWriting))
                << log.lines().join(u'\n').toStdString();
        }
        EXPECT_FALSE(QFileInfo::exists(m_local.filePath(u"file.txt"_s)));

        m_server.forgetRules();
        EXPECT_TRUE(list());
    }
}

TEST_F(FaultyServerManagerTest, WhatTheServerSaysOfABrokenUploadIsTheReason)
{
    for (const QByteArray& reply : { "552 Full"_ba, "452 Full"_ba, "426 Broken"_ba }) {
        SCOPED_TRACE(reply.constData());
        m_server.add({ .on = "STOR", .steps = { "150 Go", "read 9", "data-reset", "wait 50", reply } });

        EXPECT_FALSE(m_manager.uploadData(QByteArray(5'000'000, 'x'), u"up"_s, m_record.get()));

        EXPECT_EQ(m_manager.lastFailure().kind, FMFailure::Kind::Refused);
        EXPECT_EQ(m_manager.lastFailure().words, QString::fromUtf8(reply));
        m_server.forgetRules();
    }
}

TEST_F(FaultyServerManagerTest, NothingIsChangedBeforeLoginAndFolderHaveBeenAccepted)
{
    const LogRecorder log;
    m_record->setCareful(true);
    struct Row {
        QByteArray command;
        std::function<bool()> operation;
    };
    for (const Row& row :
         { Row{ "MKD", [this] { return m_manager.createNewFolder(u"made"_s, m_record.get()); } },
           Row{ "DELE", [this] { return m_manager.deleteFileNamed(u"file.txt"_s, m_record.get()); } },
           Row{ "SITE", [this] { return m_manager.chmodFileNamed(u"file.txt"_s, 600, m_record.get()); } } }) {
        for (const char* const refused : { "PASS", "CWD" }) {
            SCOPED_TRACE((row.command + " behind " + refused).constData());
            m_server.forgetRecords();
            m_server.add({ .on = refused, .steps = { "wait 50", "530 No" } });

            EXPECT_FALSE(row.operation());

            EXPECT_TRUE(m_server.waitForConnectionsClosed());
            for (const QByteArray& line : m_server.commands()) {
                EXPECT_FALSE(line.startsWith(row.command)) << line.constData();
            }
            m_server.forgetRules();
        }
        static_cast<void>(row.operation()); // SITE this server does not know.

        EXPECT_TRUE(m_server.waitForConnectionsClosed());
        QByteArrayList commands = m_server.commands();
        EXPECT_EQ(commands.takeLast(), "QUIT");
        EXPECT_TRUE(commands.last().startsWith(row.command)) << commands.last().constData();
    }
}

TEST_F(FaultyServerManagerTest, AllOperationsGoToTheAddressOfTheRecord)
{
    m_record->setDestination(u"nowhere.invalid/folder"_s);
    EXPECT_FALSE(m_manager.contentsOfServer(m_record.get()));
    m_record->setAddress(QHostAddress(QHostAddress::LocalHost));

    EXPECT_TRUE(m_manager.contentsOfServer(m_record.get()));
    EXPECT_TRUE(m_manager.uploadData("bytes", u"up"_s, m_record.get()));
    EXPECT_TRUE(m_manager.createNewFolder(u"made"_s, m_record.get()));
    EXPECT_TRUE(download());
    EXPECT_TRUE(m_manager.checkLogin(m_record.get()));
}

TEST_F(FaultyServerManagerTest, AnAbortedTransferEndsWhereItStandsAndSucceeds)
{
    const QString local = m_local.filePath(u"file.txt"_s);
    m_server.on("RETR", { "150 Go", "write 50000", "until NOOP" });
    EXPECT_TRUE(abortOnce([&local] { return QFileInfo(local).size() == 50'000; }, [this] { return download(); }));
    EXPECT_EQ(QFileInfo(local).size(), 50'000);

    m_server.on("STOR", { "150 Go", "read 50000", "until NOOP" });
    EXPECT_TRUE(abortOnce([this] { return m_manager.progress().has_value(); },
                          [this] { return m_manager.uploadData(QByteArray(64 << 20, 'x'), u"up"_s, m_record.get()); }));

    m_server.on("LIST", { "150 Rows", "send -rw-r--r-- 1 a b 1 Jan 12 15:04 first", "until NOOP" });
    EXPECT_TRUE(abortOnce([this] { return m_server.waitForReply("150 Rows"); },
                          [this] { return m_manager.contentsOfServer(m_record.get()).has_value(); }));

    EXPECT_TRUE(m_server.waitForConnectionsClosed());
}

TEST_F(FaultyServerManagerTest, AnAbortedUploadIsResetLestTheServerTakesItForAWholeFile)
{
    AbortingDelegate delegate(m_manager);
    m_manager.setDelegate(&delegate);

    EXPECT_TRUE(m_manager.uploadData(QByteArray(500'000, 'x'), u"up"_s, m_record.get()));

    EXPECT_TRUE(m_server.waitForConnectionsClosed());
    ASSERT_EQ(m_server.storedFiles().size(), 1);
    EXPECT_FALSE(m_server.storedFiles().first().isComplete);
}

TEST_F(FaultyServerManagerTest, AListingThatCannotBeReadIsNothing)
{
    m_server.on("LIST", { "150 Go", "fill 2000000", "data-close", "226 Done" });

    EXPECT_FALSE(m_manager.contentsOfServer(m_record.get()));
}

TEST_F(FaultyServerManagerTest, TheConversationIsSentToTheLetterAndAllAtOnce)
{
    EXPECT_TRUE(m_manager.deleteFileNamed(u"file.txt"_s, m_record.get()));
    EXPECT_EQ(m_server.commands(1),
              (QByteArrayList{ "USER anna", "PASS secret", "CWD folder", "DELE file.txt", "QUIT" }));

    EXPECT_FALSE(m_manager.deleteFileNamed(u"no folder"_s, m_record.get()));
    EXPECT_EQ(m_server.commands(2),
              (QByteArrayList{ "USER anna", "PASS secret", "CWD folder", "RMD no folder", "QUIT" }));

    EXPECT_FALSE(m_manager.chmodFileNamed(u"a b"_s, 755, m_record.get()));
    EXPECT_EQ(m_server.commands(3),
              (QByteArrayList{ "USER anna", "PASS secret", "CWD folder", "SITE CHMOD 755 a b", "QUIT" }));

    EXPECT_TRUE(m_manager.checkLogin(m_record.get()));
    EXPECT_EQ(m_server.commands(4), (QByteArrayList{ "USER anna", "PASS secret", "QUIT" }));
}

TEST_F(FaultyServerManagerTest, EveryLineOfTheConversationIsJudgedAndTheNextOneWorks)
{
    for (const ScriptedRule& rule : {
             ScriptedRule{ .on = "connect", .steps = { "220-Welcome", "say 5 users are here", "220 Ready" } },
             ScriptedRule{ .on = "USER", .steps = { "530 No" } },
             ScriptedRule{ .on = "PASS", .steps = { "530 No" } },
             ScriptedRule{ .on = "CWD", .steps = { "550 No" } },
             ScriptedRule{ .on = "DELE", .steps = { "550 No such file" } },
             ScriptedRule{ .on = "DELE", .steps = { "450-Busy", "450 Later" } },
             ScriptedRule{ .on = "QUIT", .steps = { "500 What?", "close" } },
             ScriptedRule{ .on = "DELE", .steps = { "idle 60", "flood 3000000", "close" } },
         }) {
        SCOPED_TRACE(rule.on.toStdString() + ": " + rule.steps.join(", ").toStdString());
        m_server.add(rule);
        m_server.putFile(u"folder/doomed.txt"_s, "x");

        EXPECT_FALSE(m_manager.deleteFileNamed(u"doomed.txt"_s, m_record.get()));

        m_server.forgetRules();
        m_server.putFile(u"folder/doomed.txt"_s, "x");
        EXPECT_TRUE(m_manager.deleteFileNamed(u"doomed.txt"_s, m_record.get()));
        EXPECT_FALSE(m_server.file(u"folder/doomed.txt"_s));
    }
}

TEST_F(FaultyServerManagerTest, SilenceLastsUntilTheServerCloses)
{
    m_server.on("QUIT", { "wait 700", "221 Bye", "close" });

    EXPECT_TRUE(m_manager.checkLogin(m_record.get()));
}

TEST_F(FaultyServerManagerTest, AServerThatIsGoneIsAConnectError)
{
    m_server.stop();
    const LogRecorder log;

    EXPECT_FALSE(m_manager.checkLogin(m_record.get()));

    EXPECT_EQ(log.lines(), QStringList{ u"error connecting."_s });
}

} // namespace
