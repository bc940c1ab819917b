#include "ControlServer.h"
#include "FTPManager.h"
#include "LogRecorder.h"
#include "OpenDescriptors.h"
#include "Printers.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

// The library on streams to a real socket. The server refuses the login, which is as far as these tests go.

namespace {

void refuseLogin(ControlPeer& peer)
{
    peer.send("220 hello\r\n");
    peer.receiveUntil("\r\n");
    peer.send("530 no\r\n530 no\r\n530 no\r\n");
    peer.receiveUntil("QUIT\r\n");
}

class FTPManagerNetworkTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_record->setDestination(u"127.0.0.1/dir"_s);
        m_record->setUsername(u"user"_s);
        m_record->setPassword(u"word"_s);
        m_record->setPort(m_server.port());
    }

    ControlServer m_server{ refuseLogin };
    std::shared_ptr<FMServer> m_record = std::make_shared<FMServer>();
    LogRecorder m_log;
};

TEST_F(FTPManagerNetworkTest, AManagerMadeWithoutStreamsSpeaksToServers)
{
    EXPECT_FALSE(FTPManager().contentsOfServer(m_record.get()));

    m_server.close();
    ASSERT_FALSE(m_server.received().isEmpty());
    EXPECT_TRUE(m_server.received().first().startsWith("USER user\r\n"));
    EXPECT_EQ(m_log.lines(), QStringList{ generalFailure });
}

TEST_F(FTPManagerNetworkTest, LineEndsInALoginAreNotSentByTransfers)
{
    m_record->setPassword(u"word\r\nDELE notes.txt"_s);

    EXPECT_FALSE(FTPManager().createNewFolder(u"name"_s, m_record.get()));

    m_server.close();
    for (const QByteArray& received : m_server.received()) {
        EXPECT_FALSE(received.contains("DELE"));
    }
    EXPECT_EQ(m_log.lines(), QStringList{ generalFailure });
}

TEST_F(FTPManagerNetworkTest, WithoutADescriptorATransferFails)
{
    const NoDescriptorLeft none;

    EXPECT_FALSE(FTPManager().contentsOfServer(m_record.get()));

    EXPECT_EQ(m_log.lines(), QStringList{ generalFailure });
}

TEST_F(FTPManagerNetworkTest, NothingOfATransferStaysBehind)
{
    const QTemporaryDir directory;
    FTPManager manager;
    EXPECT_FALSE(manager.contentsOfServer(m_record.get())); // What is made once for all calls is made now.
    const int before = openDescriptors();
    for (int round = 0; round < 20; ++round) {
        EXPECT_FALSE(manager.contentsOfServer(m_record.get()));
        EXPECT_FALSE(manager.uploadData("hello", u"name"_s, m_record.get()));
        EXPECT_FALSE(manager.createNewFolder(u"name"_s, m_record.get()));
        EXPECT_FALSE(manager.downloadFile(u"name"_s, QUrl::fromLocalFile(directory.path()), m_record.get()));
    }

    // The server's ends of the connections close on threads of their own.
    EXPECT_TRUE(waitForDescriptors([before](int count) { return count <= before; }));
}

} // namespace
