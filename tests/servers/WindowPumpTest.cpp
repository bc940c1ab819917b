#include "ConnectionPool.h"
#include "EngineStreamFactory.h"
#include "FTPEngine.h"
#include "NetworkManager.h"
#include "OpenDescriptors.h"
#include "Printers.h"
#include "ProgramName.h"
#include "ScriptedServer.h"
#include "UserDefaults.h"
#include "ViewController.h"
#include "WaitFor.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// The window's controller with its timer running, the real engine, and a server that misbehaves.
class WindowPumpTest : public ::testing::Test {
protected:
    WindowPumpTest()
    {
        setProgramFileName(u"Quillbox"_s);
        NetworkManager::setReachabilitySource([] { return ReachabilityFlags(ReachabilityFlag::Reachable); });
        EXPECT_TRUE(UserDefaults::standard().store(
            { { u"Address"_s, m_server.address() }, { u"Username"_s, u"anna"_s }, { u"Password"_s, u"secret"_s } }));
        m_controller = std::make_unique<ViewController>(m_streams);
        m_controller->window().show();
    }
    ~WindowPumpTest() override
    {
        // Each controller counts a stop when it is destroyed.
        NetworkManager::sharedInstance().setNetworkOperationCount(100);
        m_controller.reset();
        NetworkManager::sharedInstance().setNetworkOperationCount(0);
        NetworkManager::setReachabilitySource(nullptr);
        QFile::remove(UserDefaults::standard().filePath());
        setProgramFileName(QString());
    }

    QString makeFile(const QString& name, const QByteArray& bytes)
    {
        QFile file(m_folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return file.fileName();
    }
    /// Descriptors that are open when no connection is kept.
    int descriptorsAtRest()
    {
        ConnectionPool& pool = m_engine.pool();
        // Again and again, since a refresh may open another one meanwhile.
        EXPECT_TRUE(waitFor([this, &pool] {
            pool.closeIdle(u"127.0.0.1"_s, m_server.port());
            return pool.connectionCount() == 0;
        }));
        drainEventLoop();
        return openDescriptors();
    }
    bool waitUntilIdle()
    {
        return waitFor([this] {
            m_controller->onTick(); // A listing that is due begins with a tick.
            return m_controller->fileUploadQueue().isEmpty() && !m_controller->pc().isSending()
                && !m_controller->lc().isReceiving();
        });
    }
    QStringList listedNames() const
    {
        QStringList names;
        for (qsizetype row = 0; row < m_controller->listEntries().size(); ++row) {
            names.append(m_controller->listEntries().at(row).name);
        }
        names.sort();
        return names;
    }

    QTemporaryDir m_folder;
    ScriptedServer m_server;
    FTPEngine m_engine;
    EngineStreamFactory m_streams{ m_engine };
    std::unique_ptr<ViewController> m_controller;
};

TEST_F(WindowPumpTest, AfterAnyFaultTheNextFileGoesUpAndNothingIsLeftOpenOrCounted)
{
    auto& timeouts = m_engine.timeouts();
    timeouts.reply = 1s;
    timeouts.confirmation = 1s;
    timeouts.reason = 500ms;
    const ScriptedRule first{ .on = "STOR", .steps = {}, .argument = "first" };
    m_controller->uploadFiles({ makeFile(u"zeroth"_s, "x") });
    ASSERT_TRUE(waitFor([this] { return m_controller->fileUploadQueue().isEmpty(); }));
    ASSERT_TRUE(waitUntilIdle());
    const int descriptors = descriptorsAtRest();
    int number = 0;
    for (const QByteArrayList& steps : {
             QByteArrayList{ "553 No" },
             QByteArrayList{ "150 Go", "read 9", "552 Full", "data-reset" },
             QByteArrayList{ "150 Go", "read", "close" },
             QByteArrayList{ "reset" },
             QByteArrayList{ "150 Go", "read", "silence" },
             QByteArrayList{ "421 Bye", "close" },
             QByteArrayList{ "150 Go", "read", "226 Got it", "idle 20", "421 Idle for too long", "close" },
         }) {
        SCOPED_TRACE(steps.join(", ").toStdString());
        ScriptedRule rule = first;
        rule.steps = steps;
        m_server.add(rule);
        const QString next = u"next %1"_s.arg(++number);
        const QByteArray bytes(100'000, static_cast<char>('a' + number));

        m_controller->uploadFiles({ makeFile(u"first"_s, QByteArray(500'000, 'x')), makeFile(next, bytes) });
        ASSERT_TRUE(waitUntilIdle());

        EXPECT_TRUE(m_server.file(next) == bytes);
        EXPECT_EQ(NetworkManager::sharedInstance().networkOperationCount(), 0U);
        EXPECT_TRUE(waitFor([this, descriptors] { return descriptorsAtRest() == descriptors; }));
    }
}

TEST_F(WindowPumpTest, TheListIsRightAfterManyUploadsDuringASlowListing)
{
    QStringList names;
    for (int i = 0; i < 300; ++i) {
        names.append(u"old %1"_s.arg(i));
        m_server.putFile(names.last(), "x");
    }
    m_server.on("LIST", { "150 Go", "write 2000", "wait 150", "write", "data-close", "226 Done" });
    m_controller->listFTPDestination();
    QStringList files;
    for (int i = 0; i < 20; ++i) {
        names.append(u"new %1"_s.arg(i));
        files.append(makeFile(names.last(), "content"));
    }
    names.sort();

    m_controller->uploadFiles(files);

    EXPECT_TRUE(waitFor([this, &names] { return listedNames() == names; }));
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_EQ(listedNames(), names);
}

} // namespace
