#include "PrivateNetwork.h"
#include "WindowServerTest.h"

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// Made before the server that is to be in it.
struct InPrivateNetwork {
    PrivateNetwork network;
};

/// The window while its network goes and comes back.
class NetworkLossTest : protected InPrivateNetwork, public WindowServerTest {
protected:
    NetworkLossTest()
    {
        auto& timeouts = ConnectionPool::ofThisThread().timeouts();
        timeouts.connect = 500ms;
        timeouts.reply = 500ms;
        timeouts.stalledData = 500ms;
        timeouts.confirmation = 500ms;
        timeouts.reason = 100ms;
    }

    std::optional<QByteArray> arrived(const QString& name) const { return m_server.file(u"folder/"_s + name); }
};

TEST_F(NetworkLossTest, FilesFailWhileTheNetworkIsGoneAndGoUpWhenItIsBack)
{
    ASSERT_EQ(network.problem().toStdString(), "");
    const QByteArray bytes(300'000, 'x');
    m_server.add({ .on = "STOR", .steps = { "150 Go", "read 9", "silence" }, .argument = "cut off" });
    m_controller->uploadFiles({ makeFile(u"before"_s, bytes), makeFile(u"cut off"_s, bytes), makeFile(u"lost"_s) });
    ASSERT_TRUE(m_server.waitForCommand("STOR cut off"));

    network.setUp(false);
    EXPECT_TRUE(waitUntilIdle());

    EXPECT_EQ(status(), u"Stream open error"_s);
    EXPECT_TRUE(arrived(u"before"_s) == bytes);
    EXPECT_FALSE(arrived(u"lost"_s));
    EXPECT_EQ(list(), u"Stream open error"_s);

    network.setUp(true);
    m_controller->uploadFiles({ makeFile(u"after"_s, bytes), makeFile(u"last"_s, bytes) });
    EXPECT_TRUE(waitUntilIdle());

    EXPECT_EQ(status(), u"Upload succeeded"_s);
    EXPECT_TRUE(arrived(u"after"_s) == bytes);
    EXPECT_TRUE(arrived(u"last"_s) == bytes);
    EXPECT_TRUE(listedNames().contains(u"last"_s));
    EXPECT_EQ(network.problem().toStdString(), "");
}

/// Files that change between their being dropped and their turn.
class ChangedFilesTest : public WindowServerTest { };

TEST_F(ChangedFilesTest, WhatBecomesUnsendableInTheQueueIsPassedOverAndTheRestGoesUp)
{
    const QString first = makeFile(u"first"_s);
    const QString vanished = makeFile(u"vanished"_s);
    const QString pipe = makeFile(u"pipe"_s);
    const QString folder = makeFile(u"became a folder"_s);
    const QString device = makeFile(u"device"_s);
    const QString grown = makeFile(u"grown"_s);
    const QString shrunk = makeFile(u"shrunk"_s, "much content");
    const QString last = makeFile(u"last"_s);
    m_controller->uploadFiles({ first, vanished, pipe, folder, device, grown, shrunk, last });

    QFile::remove(vanished);
    QFile::remove(pipe);
    ASSERT_EQ(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    QFile::remove(folder);
    ASSERT_TRUE(QDir().mkdir(folder));
    QFile::remove(device);
    ASSERT_TRUE(QFile::link(u"/dev/zero"_s, device));
    makeFile(u"grown"_s, "content and more");
    makeFile(u"shrunk"_s, "little");

    EXPECT_TRUE(waitUntilIdle());
    EXPECT_EQ(status(), u"Upload succeeded"_s);
    EXPECT_EQ(m_server.file(u"folder/first"_s), QByteArray("content"));
    EXPECT_EQ(m_server.file(u"folder/grown"_s), QByteArray("content and more"));
    EXPECT_EQ(m_server.file(u"folder/shrunk"_s), QByteArray("little"));
    EXPECT_EQ(m_server.file(u"folder/last"_s), QByteArray("content"));
    QStringList listed = listedNames();
    listed.sort();
    EXPECT_EQ(listed, (QStringList{ u"first"_s, u"grown"_s, u"last"_s, u"shrunk"_s }));
    EXPECT_EQ(NetworkManager::sharedInstance().networkOperationCount(), 0U);
}

} // namespace
