#include "UploadsService.h"

#include "ApplicationService.h"
#include "BusName.h"
#include "FakeWindowTest.h"
#include "LoopSuspension.h"
#include "PrivateBus.h"
#include "UploadsClient.h"
#include "WaitFor.h"

#include <gtest/gtest.h>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

const QString programName = u"Scans"_s;

/// A program and somebody who has it upload files, on one bus.
class UploadsServiceTest : public FakeWindowTest {
protected:
    UploadsServiceTest()
    {
        m_service = new UploadsService(
            &m_object, m_bus.connection(),
            { .upload = [this](const PathList& files, bool isUnattended) { return upload(files, isUnattended); },
              .becameIdle = [this] { ++m_becameIdle; } });
        const QString name = busName(programName);
        EXPECT_TRUE(m_bus.connection().registerObject(ApplicationService::objectPath(name), &m_object));
        EXPECT_TRUE(m_bus.connection().registerService(name));
        connectTo(m_client);
    }
    void connectTo(UploadsClient& client)
    {
        QObject::connect(&client, &UploadsClient::taken, &client, [this] { m_said.append(u"taken"_s); });
        QObject::connect(&client, &UploadsClient::refused, &client,
                         [this](const QString& why) { m_said.append(u"refused: "_s + why); });
        QObject::connect(&client, &UploadsClient::lost, &client, [this] { m_said.append(u"lost"_s); });
        QObject::connect(&client, &UploadsClient::over, &client, [this](bool all, bool haveAllJoined) {
            m_said.append(!haveAllJoined ? u"over too early"_s : all ? u"all arrived"_s : u"over"_s);
        });
        const auto say = [this](const QList<FileEnd>& files) {
            for (const FileEnd& file : files) {
                m_said.append(file.path + u": "_s + file.words);
            }
        };
        QObject::connect(&client, &UploadsClient::ended, &client, say);
        QObject::connect(&client, &UploadsClient::corrected, &client, say);
    }

    std::unique_ptr<RequestWatch> upload(const PathList& files, bool isUnattended)
    {
        m_asked.append(files.toStringList());
        m_wasUnattended = isUnattended;
        const UploadRequest request{ static_cast<quint32>(m_asked.size()), isUnattended };
        auto watch = std::make_unique<RequestWatch>(m_controller->history(), m_controller->intake(), request);
        m_controller->upload({ files, {}, request });
        return watch;
    }
    bool isSaid(const QString& text)
    {
        return waitFor([this, &text] { return m_said.contains(text); });
    }

    PrivateBus m_bus;
    QObject m_object;
    UploadsService* m_service = nullptr; ///< The object's.
    UploadsClient m_client{ m_bus.serviceConnection(), programName };
    QStringList m_said;
    QList<QStringList> m_asked;
    bool m_wasUnattended = false;
    int m_becameIdle = 0;
};

TEST_F(UploadsServiceTest, TheCallerHearsWhatBecomesOfItsFiles)
{
    const QString path = makeFile(u"a"_s);
    const QString strange = u"/caf"_s + QChar(0xdce9);

    m_client.upload({ path, strange }, true);

    ASSERT_TRUE(isSaid(u"taken"_s));
    EXPECT_TRUE(m_wasUnattended);
    EXPECT_EQ(m_asked, QList<QStringList>{ QStringList({ path, strange }) });
    EXPECT_FALSE(m_service->isIdle());
    tick();
    finishUpload();
    latest(FakeFTPStream::Kind::Listing).sendOpenCompleted();
    latest(FakeFTPStream::Kind::Listing).sendBytes("-rw-r--r-- 1 u g 3 Jan 1 2024 a\r\n");
    latest(FakeFTPStream::Kind::Listing).sendEnd();
    tick();
    ASSERT_TRUE(isSaid(u"over"_s));
    EXPECT_EQ(m_said,
              (QStringList{ u"taken"_s, path + u": Confirmed by the server"_s, strange + u": Not found"_s,
                            path + u": Confirmed, but 3 bytes listed, not 5"_s, u"over"_s }));
    EXPECT_TRUE(waitFor([this] { return m_becameIdle == 1; }));
    EXPECT_TRUE(m_service->isIdle());
}

TEST_F(UploadsServiceTest, ManyFilesAreOneRequest)
{
    QStringList files;
    for (int i = 0; i < 2001; ++i) {
        files.append(u"/gone/%1"_s.arg(i));
    }

    m_client.upload(files, false);

    ASSERT_TRUE(isSaid(u"taken"_s));
    EXPECT_EQ(m_asked, QList<QStringList>{ files });
    m_controller->clearQueue();
    ASSERT_TRUE(isSaid(u"over"_s));
    EXPECT_EQ(m_said.size(), 2003);
    EXPECT_EQ(m_said[2001], u"/gone/2000: Removed from the queue"_s);
}

TEST_F(UploadsServiceTest, ThatAllHaveArrivedIsTold)
{
    m_client.upload({ makeFile(u"a"_s) }, true);
    ASSERT_TRUE(isSaid(u"taken"_s));
    tick();
    finishUpload();
    latest(FakeFTPStream::Kind::Listing).sendOpenCompleted();
    latest(FakeFTPStream::Kind::Listing).sendBytes("-rw-r--r-- 1 u g 5 Jan 1 2024 a\r\n");
    latest(FakeFTPStream::Kind::Listing).sendEnd();

    EXPECT_TRUE(isSaid(u"all arrived"_s));
}

TEST_F(UploadsServiceTest, NoFilesAreRefusedAndSoIsMoreBeforeTheFirstAreOver)
{
    const QString refusal = u"refused: The window that is open refuses what it is asked."_s;
    m_client.upload({}, false);
    ASSERT_TRUE(isSaid(refusal));
    m_said.clear();
    m_client.upload({ makeFile(u"a"_s) }, false);
    ASSERT_TRUE(isSaid(u"taken"_s));

    UploadsClient again(m_bus.serviceConnection(), programName);
    connectTo(again);
    again.upload({ u"/b"_s }, false);

    EXPECT_TRUE(isSaid(refusal));
    EXPECT_EQ(m_asked.size(), 1);
}

TEST_F(UploadsServiceTest, AWindowOfAnEarlierVersionRefusesAndIsNotLost)
{
    QObject windowOfBefore;
    const QString name = busName(u"Before"_s);
    ASSERT_TRUE(m_bus.connection().registerObject(ApplicationService::objectPath(name), &windowOfBefore));
    ASSERT_TRUE(m_bus.connection().registerService(name));
    UploadsClient client(m_bus.serviceConnection(), u"Before"_s);
    connectTo(client);

    client.upload({ u"/a"_s }, false);

    EXPECT_TRUE(isSaid(u"refused: The window that is open refuses what it is asked."_s));
    EXPECT_EQ(m_said.size(), 1);
}

TEST_F(UploadsServiceTest, AProgramThatHasGoneBeforeItIsAskedIsLostAndToldOnce)
{
    UploadsClient client(m_bus.serviceConnection(), u"Nobody"_s);
    connectTo(client);

    client.upload({ u"/a"_s }, false);

    EXPECT_TRUE(isSaid(u"lost"_s));
    drainEventLoop();
    EXPECT_EQ(m_said, QStringList{ u"lost"_s });
}

TEST_F(UploadsServiceTest, ACallThatComesWhileTheLoopIsHeldIsServedAfterwards)
{
    std::optional<LoopSuspension> suspension(std::in_place);
    m_client.upload({ u"/gone"_s }, false);
    for (int turn = 0; turn < 20; ++turn) {
        m_bus.serviceConnection().call(
            QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/"_s, u"org.freedesktop.DBus"_s, u"GetId"_s));
        drainEventLoop();
    }
    EXPECT_EQ(m_asked.size(), 0);

    suspension.reset();

    EXPECT_TRUE(isSaid(u"taken"_s));
}

TEST_F(UploadsServiceTest, ACallerThatGoesAwayIsForgottenAndItsFilesGoUp)
{
    const QString another = u"another caller"_s;
    {
        UploadsClient client(QDBusConnection::connectToBus(m_bus.address(), another), programName);
        connectTo(client);
        client.upload({ makeFile(u"a"_s) }, false);
        ASSERT_TRUE(isSaid(u"taken"_s));
    }

    QDBusConnection::disconnectFromBus(another);

    EXPECT_TRUE(waitFor([this] { return m_service->isIdle(); }));
    tick();
    EXPECT_TRUE(m_controller->pc().isSending());
}

TEST_F(UploadsServiceTest, TheEndOfTheProgramIsTold)
{
    m_client.upload({ makeFile(u"a"_s) }, false);
    ASSERT_TRUE(isSaid(u"taken"_s));

    m_service->programEnds();
    ASSERT_TRUE(isSaid(u"over"_s));
    m_bus.connection().unregisterService(busName(programName));

    EXPECT_TRUE(isSaid(u"lost"_s));
    EXPECT_EQ(m_said[1], m_directory.filePath(u"a"_s) + u": Not confirmed: Quillbox ended"_s);
}

} // namespace
