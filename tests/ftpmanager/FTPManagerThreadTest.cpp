// On which threads operations run, and where they report.

#include "ControlServer.h"
#include "FTPManagerPrivate.h"
#include "FakeFTPStream.h"
#include "LogRecorder.h"

#include <QDir>
#include <QFile>
#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

using enum FTPStreamEvent;

/// The numbers of all threads of this process.
QSet<QString> threads()
{
    const QStringList names = QDir(u"/proc/self/task"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    return { names.begin(), names.end() };
}

class ThreadRecorder final : public FTPManagerDelegate {
public:
    void ftpManagerUploadProgressDidChange(const std::optional<FTPManagerProgress>& /*progress*/) override
    {
        uploads = std::this_thread::get_id();
    }
    void ftpManagerDownloadProgressDidChange(const std::optional<FTPManagerProgress>& /*progress*/) override
    {
        downloads = std::this_thread::get_id();
    }

    std::thread::id uploads; ///< Where uploads report.
    std::thread::id downloads;
};

class FTPManagerThreadTest : public ::testing::Test {
protected:
    using Operation = std::function<bool()>;

    bool upload() { return m_manager.uploadData("hello", u"name"_s, m_record.get()); }
    bool uploadFile()
    {
        QFile file(m_directory.filePath(u"file"_s));
        return file.open(QIODevice::WriteOnly)
            && m_manager.uploadFile(QUrl::fromLocalFile(file.fileName()), m_record.get());
    }
    bool download()
    {
        return m_manager.downloadFile(u"name"_s, QUrl::fromLocalFile(m_directory.path()), m_record.get());
    }

    /// How many threads @p operation has made by the time at which its stream has said everything.
    qsizetype threadsOfTransfer(const Operation& operation)
    {
        qsizetype count = 0;
        m_streams.next.whenOver = [&count, before = threads()](FakeFTPStream& stream) {
            count = (threads() - before).size();
            stream.turns = { { ErrorOccurred } };
        };
        EXPECT_FALSE(operation());
        return count;
    }

    /// How many threads @p operation has made by the time at which the server has heard everything.
    qsizetype threadsOfConversation(const Operation& operation)
    {
        qsizetype count = 0;
        QSet<QString> before;
        ControlServer server([&](ControlPeer& peer) {
            peer.receiveUntil("QUIT\r\n");
            count = (threads() - before).size() - 1; // The server has made one for the client.
            peer.send("230 in\r\n");
        });
        m_record->setPort(server.port());
        before = threads();
        EXPECT_TRUE(operation());
        server.close();
        return count;
    }

    QTemporaryDir m_directory;
    std::shared_ptr<FMServer> m_record = FMServer::serverWithDestination(u"127.0.0.1"_s, u"user"_s, u"word"_s);
    FakeStreamFactory m_streams;
    FTPManager m_manager = managerOn(m_streams);
    LogRecorder m_log;
};

TEST_F(FTPManagerThreadTest, EachTransferRunsOnAWorkerThreadOfItsOwn)
{
    EXPECT_EQ(threadsOfTransfer([this] { return upload(); }), 1);
    EXPECT_EQ(threadsOfTransfer([this] { return uploadFile(); }), 1);
    EXPECT_EQ(threadsOfTransfer([this] { return download(); }), 1);
    EXPECT_EQ(threadsOfTransfer([this] { return m_manager.createNewFolder(u"name"_s, m_record.get()); }), 1);
    EXPECT_EQ(threadsOfTransfer([this] { return m_manager.contentsOfServer(m_record.get()).has_value(); }), 1);
}

TEST_F(FTPManagerThreadTest, EachConversationRunsOnAWorkerThreadOfItsOwn)
{
    EXPECT_EQ(threadsOfConversation([this] { return m_manager.checkLogin(m_record.get()); }), 1);
    EXPECT_EQ(threadsOfConversation([this] { return m_manager.deleteFileNamed(u"a.txt"_s, m_record.get()); }), 1);
    EXPECT_EQ(threadsOfConversation([this] { return m_manager.chmodFileNamed(u"a.txt"_s, 644, m_record.get()); }), 1);
}

TEST_F(FTPManagerThreadTest, DeleteFileRunsTheSameFromAFurtherWorkerThread)
{
    EXPECT_EQ(threadsOfConversation([this] { return m_manager.deleteFile(u"a.txt"_s, m_record.get()); }), 2);
}

TEST_F(FTPManagerThreadTest, ProgressIsReportedOnTheWorkerThread)
{
    ThreadRecorder delegate;
    m_manager.setDelegate(&delegate);

    m_streams.next.turns = { { HasSpaceAvailable }, { HasSpaceAvailable } };
    EXPECT_TRUE(upload());
    m_streams.next.turns = { { OpenCompleted }, { HasBytesAvailable } };
    EXPECT_TRUE(download());

    for (const std::thread::id reporting : { delegate.uploads, delegate.downloads }) {
        EXPECT_NE(reporting, std::thread::id());
        EXPECT_NE(reporting, std::this_thread::get_id());
    }
}

} // namespace
