// Operations with a record that requires encryption.

#include "ControlServer.h"
#include "FTPManagerPrivate.h"
#include "FakeFTPStream.h"
#include "FaultySocketCalls.h"
#include "LogRecorder.h"
#include "Printers.h"

#include <QTemporaryDir>
#include <QUrl>

#include <gtest/gtest.h>

#include <future>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

class FTPManagerTlsTest : public testing::Test {
protected:
    /// A server that agrees to TLS, waits for the whole conversation, answers @p replies and closes in good order.
    std::function<void(ControlPeer&)> answering(const QByteArray& replies, bool saysClosing = true)
    {
        return [this, replies, saysClosing](ControlPeer& peer) {
            if (agree(peer)) {
                peer.receiveUntil("QUIT\r\n");
                peer.send(replies);
                if (saysClosing) {
                    peer.sayClosing();
                }
            }
        };
    }
    bool agree(ControlPeer& peer)
    {
        peer.send("220 hello\r\n");
        peer.receiveUntil("\r\n");
        peer.send("234 go on\r\n");
        return peer.startTls(m_context);
    }

    std::shared_ptr<FMServer> recordFor(const ControlServer& server) const
    {
        auto record = FMServer::serverWithDestination(u"ftp://127.0.0.1/dir"_s, u"user"_s, u"word"_s);
        record->setPort(server.port());
        record->setEncryption(FTPEncryption::Required);
        record->setTrustedFingerprints({ m_certificate.fingerprint() });
        return record;
    }

    TestCertificate m_certificate = TestCertificate::selfSigned();
    TlsServerContext m_context{ m_certificate };
};

TEST_F(FTPManagerTlsTest, ARecordIsNotEncryptedAndTrustsNothingAtFirst)
{
    const FMServer server;

    EXPECT_EQ(server.encryption(), FTPEncryption::None);
    EXPECT_TRUE(server.trustedFingerprints().isEmpty());
}

TEST_F(FTPManagerTlsTest, TheSameConversationIsHeldInsideTls)
{
    ControlServer server(answering("230 in\r\n250 there\r\n250 gone\r\n221 bye\r\n"));

    EXPECT_TRUE(FTPManager().deleteFileNamed(u"notes.txt"_s, recordFor(server).get()));

    server.close();
    EXPECT_EQ(server.received().value(0),
              "AUTH TLS\r\nUSER user\r\nPASS word\r\nCWD dir\r\nDELE notes.txt\r\nQUIT\r\n"_ba);
}

TEST_F(FTPManagerTlsTest, InterruptedCallsAndShortSendsGoOn)
{
    const ControlServer server(answering("230 in\r\n221 bye\r\n"));
    const FaultySocketCalls faults;
    FaultySocketCalls::interruptCalls();
    FaultySocketCalls::shortenSends();

    EXPECT_TRUE(FTPManager().checkLogin(recordFor(server).get()));
}

TEST_F(FTPManagerTlsTest, RepliesInsideAreJudgedAsEver)
{
    const ControlServer server(answering("331 word?\r\n530 no\r\n221 bye\r\n"));

    EXPECT_FALSE(FTPManager().checkLogin(recordFor(server).get()));
}

TEST_F(FTPManagerTlsTest, RepliesInjectedBeforeTheHandshakeAreDropped)
{
    const ControlServer server([this](ControlPeer& peer) {
        peer.send("220 hello\r\n");
        peer.receiveUntil("\r\n");
        peer.send("234 go on\r\n550 no\r\n221 bye\r\n");
        if (peer.startTls(m_context)) {
            peer.receiveUntil("QUIT\r\n");
            peer.send("230 in\r\n221 bye\r\n");
            peer.sayClosing();
        }
    });

    EXPECT_TRUE(FTPManager().checkLogin(recordFor(server).get()));
}

TEST_F(FTPManagerTlsTest, WithoutTlsNothingButTheRequestForItIsSent)
{
    for (const QByteArray reply :
         { "500 what?\r\n", "534 no\r\n", "230 in\r\n", "234 go on\r\n250 no TLS here\r\n", "" }) {
        SCOPED_TRACE(reply.constData());
        ControlServer server([this, reply](ControlPeer& peer) {
            peer.send("220 hello\r\n");
            peer.receiveUntil("\r\n");
            peer.send(reply);
            const bool refuses = !reply.isEmpty() && !reply.startsWith("234");
            if (refuses && peer.startTls(m_context)) { // It could all the same.
                peer.receiveUntil("QUIT\r\n");
            }
        });
        const LogRecorder log;

        EXPECT_FALSE(FTPManager().checkLogin(recordFor(server).get()));

        server.close();
        EXPECT_EQ(server.received().value(0), "AUTH TLS\r\n"_ba);
        EXPECT_EQ(log.lines(), QStringList{ u"no encryption comes about"_s });
    }
}

TEST_F(FTPManagerTlsTest, AServerThatDoesNotGreetIsToldNothing)
{
    for (const char* greeting : { "421 busy\r\n", "SSH-2.0\r\n", "" }) {
        ControlServer server([greeting](ControlPeer& peer) { peer.send(greeting); });
        const LogRecorder log;

        EXPECT_FALSE(FTPManager().checkLogin(recordFor(server).get()));

        server.close();
        EXPECT_EQ(server.received().value(0), ""_ba);
        EXPECT_EQ(log.lines(), QStringList{ u"the server does not greet"_s });
    }
}

TEST_F(FTPManagerTlsTest, ACertificateThatIsNotTrustedGetsNoLogin)
{
    ControlServer server([this](ControlPeer& peer) {
        agree(peer);
        peer.receiveUntil("QUIT\r\n");
    });
    const auto record = recordFor(server);
    const LogRecorder log;

    FTPManager manager;

    record->setTrustedFingerprints({});
    EXPECT_FALSE(manager.checkLogin(record.get()));
    EXPECT_EQ(manager.lastFailure().kind, FMFailure::Kind::Certificate);
    record->setTrustedFingerprints({ TestCertificate::selfSigned().fingerprint() });
    EXPECT_FALSE(FTPManager().checkLogin(record.get()));

    server.close();
    EXPECT_EQ(server.received(), (QList<QByteArray>{ "AUTH TLS\r\n", "AUTH TLS\r\n" }));
    EXPECT_EQ(log.lines().value(0), u"the certificate of the server is not trusted"_s);
}

TEST_F(FTPManagerTlsTest, WhyAnOperationFailedIsToldOfTheLatestOneAlone)
{
    FakeStreamFactory streams;
    const auto record = FMServer::serverWithDestination(u"host"_s, u"user"_s, u"word"_s);
    FTPManager manager = managerOn(streams);
    EXPECT_EQ(manager.lastFailure().kind, FMFailure::Kind::None);

    streams.next.error.domain = FTPStreamError::Domain::Certificate;
    streams.next.turns = { { FTPStreamEvent::ErrorOccurred } };
    EXPECT_FALSE(manager.createNewFolder(u"a"_s, record.get()));
    EXPECT_EQ(manager.lastFailure().kind, FMFailure::Kind::Certificate);

    streams.next.error.domain = FTPStreamError::Domain::Other;
    streams.next.turns = { { FTPStreamEvent::ErrorOccurred } };
    EXPECT_FALSE(manager.createNewFolder(u"a"_s, record.get()));
    EXPECT_EQ(manager.lastFailure().kind, FMFailure::Kind::Lost);
}

TEST_F(FTPManagerTlsTest, AConversationThatIsCutBeforeTheReplyToQuitIsAFailure)
{
    const ControlServer cut(answering("230 in\r\n250 there\r\n", false));
    const ControlServer complete(answering("230 in\r\n250 there\r\n250 gone\r\n221 bye\r\n", false));
    const ControlServer silent(answering("", true));
    const LogRecorder log;

    EXPECT_FALSE(FTPManager().deleteFileNamed(u"a.txt"_s, recordFor(cut).get()));
    EXPECT_TRUE(FTPManager().deleteFileNamed(u"a.txt"_s, recordFor(complete).get()));
    EXPECT_TRUE(FTPManager().deleteFileNamed(u"a.txt"_s, recordFor(silent).get())); // In clear, too.

    EXPECT_EQ(log.lines(), QStringList{ u"Error reading from socket!"_s });
}

TEST_F(FTPManagerTlsTest, AServerThatIsSilentBeforeTheConversationEndsItAndLeavesNothingUndecided)
{
    FTPTimeouts timeouts;
    timeouts.careful = 50ms;
    for (const bool isCareful : { false, true }) {
        for (const char* said : { "", "220 hello\r\n", "220 hello\r\n234 go on\r\n" }) {
            SCOPED_TRACE(said);
            std::promise<void> hasFailed;
            const ControlServer server([said, &hasFailed](ControlPeer& peer) {
                peer.send(said);
                hasFailed.get_future().wait();
            });
            const auto record = recordFor(server);
            record->setCareful(isCareful);
            record->setTimeLimit(isCareful ? 0ms : 50ms); // A careful one needs none.
            record->setTimeouts(timeouts);
            FTPManager manager;

            EXPECT_FALSE(manager.deleteFileNamed(u"a.txt"_s, record.get()));

            EXPECT_FALSE(manager.isUndecided());
            hasFailed.set_value();
        }
    }
}

TEST_F(FTPManagerTlsTest, StreamsAreToldWhatTheRecordSays)
{
    FakeStreamFactory streams;
    streams.next.turns = { { FTPStreamEvent::EndEncountered } };
    const auto record = FMServer::serverWithDestination(u"host"_s, u"user"_s, u"word"_s);
    EXPECT_TRUE(managerOn(streams).createNewFolder(u"a"_s, record.get()));
    EXPECT_EQ(streams.last().encryption, FTPEncryption::None);

    record->setEncryption(FTPEncryption::Required);
    record->setTrustedFingerprints({ "fingerprint" });
    streams.next.turns = { { FTPStreamEvent::EndEncountered } };
    EXPECT_TRUE(managerOn(streams).createNewFolder(u"a"_s, record.get()));
    EXPECT_EQ(streams.last().encryption, FTPEncryption::Required);
    EXPECT_EQ(streams.last().trustedCertificates, QList<QByteArray>{ "fingerprint" });

    FakeStreamFactory refusing;
    refusing.next.refusesEncryption = true;
    const QTemporaryDir folder;
    FTPManager manager = managerOn(refusing);
    EXPECT_FALSE(manager.createNewFolder(u"a"_s, record.get()));
    EXPECT_FALSE(manager.uploadData("x", u"a"_s, record.get()));
    EXPECT_FALSE(manager.contentsOfServer(record.get()));
    EXPECT_FALSE(manager.downloadFile(u"a"_s, QUrl::fromLocalFile(folder.path()), record.get()));
    for (const auto& stream : refusing.streams()) {
        EXPECT_FALSE(stream->wasOpened());
    }
}

} // namespace
