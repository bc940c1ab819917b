// What the controllers tell their streams about encryption.

#include "FTPCreateController.h"
#include "FTPGetController.h"
#include "FTPListController.h"
#include "FTPPutController.h"
#include "TransferTest.h"
#include "UserDefaults.h"

using namespace Qt::StringLiterals;

namespace {

class StreamEncryptionTest : public TransferTest {
protected:
    void setSource(const std::function<FTPEncryption()>& source)
    {
        m_put.setEncryptionSource(source);
        m_get.setEncryptionSource(source);
        m_list.setEncryptionSource(source);
        m_create.setEncryptionSource(source);
    }
    void startAll()
    {
        m_put.startSend(makeFile(u"f"_s, "x"), u"host"_s, u"me"_s, u"secret"_s);
        m_get.startReceive(u"host/f"_s, u"me"_s, u"secret"_s, path(u"got"_s));
        m_list.startReceive(u"host"_s, u"me"_s, u"secret"_s);
        m_create.startCreate(u"d"_s, u"host"_s, u"me"_s, u"secret"_s);
    }
    void stopAll()
    {
        m_put.stopSendWithStatus(u"Stopped"_s);
        m_get.stopReceiveWithStatus(u"Stopped"_s);
        m_list.stopReceiveWithStatus(u"Stopped"_s);
        m_create.stopCreateWithStatus(u"Stopped"_s);
    }
    QList<FTPEncryption> encryptionOfStreams() const
    {
        QList<FTPEncryption> all;
        for (const auto& stream : m_streams.streams()) {
            all.append(stream->encryption);
        }
        return all;
    }

    UserDefaults m_defaults{ path(u"settings.json"_s) };
    FTPPutController m_put{ m_streams };
    FTPGetController m_get{ m_streams, m_defaults, [](const QString&) {} };
    FTPListController m_list{ m_streams };
    FTPCreateController m_create{ m_streams };
};

TEST_F(StreamEncryptionTest, WithoutASourceStreamsAreNotEncrypted)
{
    startAll();

    EXPECT_EQ(encryptionOfStreams(), QList<FTPEncryption>(4, FTPEncryption::None));
}

TEST_F(StreamEncryptionTest, TheSourceIsAskedAtEachStart)
{
    FTPEncryption encryption = FTPEncryption::Required;
    setSource([&encryption] { return encryption; });

    startAll();
    stopAll();
    encryption = FTPEncryption::None;
    startAll();

    EXPECT_EQ(encryptionOfStreams(),
              QList<FTPEncryption>(4, FTPEncryption::Required) + QList<FTPEncryption>(4, FTPEncryption::None));
}

TEST_F(StreamEncryptionTest, AStreamThatRefusesItIsNotOpened)
{
    m_streams.next.refusesEncryption = true;

    startAll();

    for (const auto& stream : m_streams.streams()) {
        EXPECT_FALSE(stream->calls.contains(u"open"_s));
    }
    EXPECT_FALSE(m_put.isSending() || m_get.isReceiving() || m_list.isReceiving() || m_create.isCreating());
}

} // namespace
