#include "ControlServer.h"
#include "FTPManagerPrivate.h"
#include "FakeFTPStream.h"
#include "FaultyFileCalls.h"
#include "LogRecorder.h"
#include "Printers.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

using enum FTPStreamEvent;

/// Aborts its manager from inside a report.
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
    void ftpManagerDownloadProgressDidChange(const std::optional<FTPManagerProgress>& /*progress*/) override
    {
        m_manager.abort();
    }

private:
    FTPManager& m_manager;
};

class FTPManagerAbortTest : public ::testing::Test {
protected:
    /// Runs @p operation on a thread of its own and aborts it from this one when its script is over.
    template <typename Operation> auto abortWhenOver(Operation operation)
    {
        std::promise<void> over;
        m_streams.next.whenOver = [&over](FakeFTPStream&) { over.set_value(); };
        auto result = std::async(std::launch::async, operation);
        over.get_future().wait();
        m_manager.abort();
        return result.get();
    }

    std::shared_ptr<FMServer> m_server = FMServer::serverWithDestination(u"host"_s, u"user"_s, u"word"_s);
    FakeStreamFactory m_streams;
    FTPManager m_manager = managerOn(m_streams);
    LogRecorder m_log;
};

TEST_F(FTPManagerAbortTest, AnAbortedListingSucceedsWithWhatCameBefore)
{
    m_streams.next.readAnswers = { "-rw-r--r-- 1 a b 1 Jan 12 15:04 first\n-rw-r--r-- 1 a b 1 Jan 12 15:04 sec"_ba };
    m_streams.next.turns = { { OpenCompleted }, { HasBytesAvailable } };

    const auto entries = abortWhenOver([this] { return m_manager.contentsOfServer(m_server.get()); });

    ASSERT_TRUE(entries);
    ASSERT_EQ(entries->size(), 1);
    EXPECT_EQ(entries->first().name, u"first"_s);
    EXPECT_EQ(m_streams.last().calls.last(), u"close"_s);
    EXPECT_EQ(m_log.lines(), QStringList());
}

TEST_F(FTPManagerAbortTest, AnAbortedUploadSucceeds)
{
    m_streams.next.turns = { { OpenCompleted }, { HasSpaceAvailable } };

    EXPECT_TRUE(abortWhenOver([this] { return m_manager.uploadData("hello", u"name"_s, m_server.get()); }));

    EXPECT_EQ(m_streams.last().calls.last(), u"close"_s);
}

TEST_F(FTPManagerAbortTest, AnAbortedFolderCreationSucceeds)
{
    EXPECT_TRUE(abortWhenOver([this] { return m_manager.createNewFolder(u"name"_s, m_server.get()); }));
}

TEST_F(FTPManagerAbortTest, AnAbortedDownloadSucceedsAndKeepsWhatCame)
{
    const QTemporaryDir directory;
    m_streams.next.readAnswers = { "hel"_ba };
    m_streams.next.turns = { { OpenCompleted }, { HasBytesAvailable } };

    EXPECT_TRUE(abortWhenOver(
        [&] { return m_manager.downloadFile(u"name"_s, QUrl::fromLocalFile(directory.path()), m_server.get()); }));

    QFile file(directory.filePath(u"name"_s));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), "hel"_ba);
}

TEST_F(FTPManagerAbortTest, AnAbortFromInsideAReportEndsTheOperation)
{
    AbortingDelegate delegate(m_manager);
    m_manager.setDelegate(&delegate);
    m_streams.next.writeAnswers = { 1 };
    m_streams.next.turns = { { OpenCompleted }, { HasSpaceAvailable, HasSpaceAvailable }, { HasSpaceAvailable } };

    EXPECT_TRUE(m_manager.uploadData("hello", u"name"_s, m_server.get()));

    EXPECT_EQ(m_streams.last().written, "h"_ba);
}

TEST_F(FTPManagerAbortTest, WhatFailsAfterAnAbortIsNoReason)
{
    const QTemporaryDir directory;
    AbortingDelegate delegate(m_manager);
    m_manager.setDelegate(&delegate);
    m_streams.next.readAnswers = { "hel"_ba };
    m_streams.next.turns = { { HasBytesAvailable } };
    const FaultyFileCalls faults;
    FaultyFileCalls::limitWrites(0);

    EXPECT_TRUE(m_manager.downloadFile(u"name"_s, QUrl::fromLocalFile(directory.path()), m_server.get()));

    EXPECT_EQ(m_manager.lastFailure().kind, FMFailure::Kind::None);
}

TEST_F(FTPManagerAbortTest, AnAbortBeforeAndAfterAnOperationDoesNothing)
{
    m_manager.abort();
    m_streams.next.turns = { { ErrorOccurred } };
    EXPECT_FALSE(m_manager.createNewFolder(u"name"_s, m_server.get()));
    m_manager.abort();
    m_streams.next.turns = { { ErrorOccurred } };
    EXPECT_FALSE(m_manager.createNewFolder(u"name"_s, m_server.get()));
}

TEST_F(FTPManagerAbortTest, AConversationCannotBeAborted)
{
    std::promise<void> asked;
    std::promise<void> aborted;
    ControlServer server([&](ControlPeer& peer) {
        peer.receiveUntil("QUIT\r\n");
        asked.set_value();
        aborted.get_future().wait();
        peer.send("550 no\r\n");
    });
    m_server->setDestination(u"127.0.0.1"_s);
    m_server->setPort(server.port());
    auto result = std::async(std::launch::async, [this] { return m_manager.checkLogin(m_server.get()); });
    asked.get_future().wait();

    m_manager.abort();
    aborted.set_value();

    EXPECT_FALSE(result.get());
}

TEST_F(FTPManagerAbortTest, AbortsAtAnyMomentDoNoHarm)
{
    std::atomic<bool> done = false;
    std::thread aborter([&] {
        while (!done) {
            m_manager.abort();
            m_manager.progress();
            std::this_thread::yield();
        }
    });
    for (int round = 0; round < 2000; ++round) {
        m_streams.next.turns = { { OpenCompleted }, { HasSpaceAvailable }, { HasSpaceAvailable } };
        EXPECT_TRUE(m_manager.uploadData("hello", u"name"_s, m_server.get()));
        EXPECT_EQ(m_streams.last().calls.last(), u"close"_s);
    }
    done = true;
    aborter.join();
}

TEST_F(FTPManagerAbortTest, SixteenManagersRunSideBySide)
{
    // Each opens its stream and waits until all have; they end only if none waits for another.
    constexpr size_t count = 16;
    std::atomic<size_t> arrived = 0;
    std::promise<void> allArrived;
    const std::shared_future<void> go = allArrived.get_future().share();
    std::vector<FakeStreamFactory> factories(count);
    std::vector<std::future<bool>> results;
    for (FakeStreamFactory& streams : factories) {
        streams.next.whenOver = [&](FakeFTPStream& stream) {
            if (++arrived == count) {
                allArrived.set_value();
            }
            go.wait();
            stream.turns = { { EndEncountered } };
        };
        results.push_back(std::async(std::launch::async, [this, &streams] {
            FTPManager manager = managerOn(streams);
            return manager.createNewFolder(u"name"_s, m_server.get());
        }));
    }

    for (std::future<bool>& result : results) {
        EXPECT_TRUE(result.get());
    }
}

} // namespace
