#pragma once

#include "ConnectionPool.h"
#include "DeliveryGate.h"
#include "EngineStreamFactory.h"
#include "FTPEngine.h"
#include "NoWarnings.h"
#include "Printers.h"
#include "ScriptedPeer.h"
#include "ServerTraits.h"
#include "StreamRecorder.h"
#include "TestCertificate.h"
#include "TlsServerEnd.h"
#include "WaitFor.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

using End = PeerConnection::End;

/// More bytes than all buffers on the way hold.
constexpr qsizetype tooMuch = qsizetype(64) * 1024 * 1024;

/// A stream of an engine of the test's own against a server whose every line the test says. The streams are told to
/// trust the server's certificate.
class StreamTest : public ::testing::Test {
protected:
    explicit StreamTest(FTPEncryption encryption = FTPEncryption::None)
        : m_encryption(encryption)
    {
    }
    ~StreamTest() override { DeliveryGate::ofThisThread().setClosed(false); }

    bool isEncrypted() const { return m_encryption == FTPEncryption::Required; }

    void start(std::unique_ptr<FTPStream> stream, StreamRecorder& recorder, const QString& userName = u"anna"_s)
    {
        EXPECT_TRUE(stream->setEncryption(m_encryption));
        stream->setTrustedCertificates(m_trusted);
        recorder.start(std::move(stream), userName);
    }
    void startUpload(StreamRecorder& recorder, const QString& path, const QByteArray& data,
                     const QString& userName = u"anna"_s)
    {
        recorder.data = data;
        start(m_factory.createUploadStream(m_peer.location(path), data.size()), recorder, userName);
    }
    void startUpload(const QString& path, const QByteArray& data) { startUpload(m_recorder, path, data); }
    void startDownload(const QString& path)
    {
        m_recorder.data.clear();
        auto stream = m_factory.createDownloadStream(m_peer.location(path));
        stream->setFetchResourceInfo(true);
        start(std::move(stream), m_recorder);
    }
    void startListing(const QString& path)
    {
        m_recorder.data.clear();
        start(m_factory.createListingStream(m_peer.location(path)), m_recorder);
    }
    void startCreation(const QString& path) { start(m_factory.createFolderStream(m_peer.location(path)), m_recorder); }

    /// Has the engine know nothing of @p peer, which may have got the port of an earlier one of the same test.
    void forget(const ScriptedPeer& peer) { m_engine.servers().of({ u"127.0.0.1"_s, peer.port(), {}, {} }) = {}; }

    /// A port that nobody listens on.
    static quint16 deadPort() { return ScriptedPeer().port(); }

    static QByteArray extendedPassive(quint16 port) { return "229 Come (|||" + QByteArray::number(port) + "|)"; }
    QByteArray extendedPassive() const { return extendedPassive(m_dataPeer.port()); }

    QByteArray passive() const
    {
        const int port = m_dataPeer.port();
        return "227 Come (127,0,0,1," + QByteArray::number(port / 256) + ',' + QByteArray::number(port % 256) + ')';
    }

    /// The next control connection.
    std::unique_ptr<PeerConnection> accept()
    {
        auto control = m_peer.accept();
        if (control == nullptr) {
            throw std::runtime_error("no control connection");
        }
        return control;
    }

    /// Takes the next control connection up to where the login is due.
    std::unique_ptr<PeerConnection> greet()
    {
        auto control = accept();
        control->say("220 Ready");
        if (isEncrypted()) {
            EXPECT_EQ(control->hear(), "AUTH TLS");
            control->say("234 Go on");
            EXPECT_TRUE(control->startTls(m_tls));
        }
        return control;
    }

    /// The commands of a login, and what is said to them when it succeeds.
    QList<std::pair<QByteArray, QByteArray>> login(const QByteArray& userName = "anna") const
    {
        QList<std::pair<QByteArray, QByteArray>> turns;
        if (isEncrypted()) {
            turns = { { "PBSZ 0", "200 Size 0" }, { "PROT P", "200 Private" } };
        }
        turns.append(
            { { "USER " + userName, "331 Password" }, { "PASS secret", "230 In" }, { "PWD", "257 \"/home\" is it" } });
        return turns;
    }

    /// Greets and takes the login that ends with @p rest, all commands behind PWD.
    std::unique_ptr<PeerConnection> logIn(const QByteArrayList& rest, const QByteArray& userName = "anna")
    {
        auto control = greet();
        const auto turns = login(userName);
        for (const auto& [command, reply] : turns) {
            EXPECT_EQ(control->hear(), command);
        }
        EXPECT_EQ(control->hear(static_cast<int>(rest.size())), rest);
        for (const auto& [command, reply] : turns) {
            control->say(reply);
        }
        return control;
    }

    /// The login of a first transfer, up to the data connection and the command behind it.
    std::unique_ptr<PeerConnection> open(const QByteArray& command, QByteArrayList rest = { "TYPE I", "EPSV" },
                                         const QByteArray& userName = "anna")
    {
        auto control = logIn(rest, userName);
        for (qsizetype i = 0; i + 1 < rest.size(); ++i) {
            control->say(rest[i].startsWith("SIZE") ? m_sizeReply : QByteArray("200 Fine"));
        }
        control->say(extendedPassive());
        acceptData();
        EXPECT_EQ(control->hear(), command);
        return control;
    }
    /// The same of a further transfer in the same folder on the connection that was kept.
    void reopen(PeerConnection& control, const QByteArray& command)
    {
        EXPECT_EQ(control.hear(), "EPSV");
        control.say(extendedPassive());
        acceptData();
        EXPECT_EQ(control.hear(), command);
    }

    /// What the engine has learnt about the server.
    ServerTraits& traits()
    {
        FTPServerKey key;
        key.host = u"127.0.0.1"_s;
        key.port = m_peer.port();
        return m_engine.servers().of(key);
    }

    void acceptData()
    {
        m_data = m_dataPeer.accept();
        if (m_data == nullptr) {
            throw std::runtime_error("no data connection");
        }
        if (isEncrypted()) {
            EXPECT_TRUE(m_data->startTls(m_tls));
        }
    }

    /// Begins an upload of @p data to @p name in the login folder and serves it to the end.
    std::unique_ptr<PeerConnection> upload(const QString& name, const QByteArray& data)
    {
        startUpload(u'/' + name, data);
        auto control = open("STOR " + name.toUtf8());
        EXPECT_EQ(m_data->receiveToEnd(), data);
        control->say("226 Got it");
        EXPECT_EQ(m_recorder.waitForEnd(), (QStringList{ u"open"_s, u"space"_s, u"end"_s }));
        return control;
    }

    NoWarnings m_noWarnings;
    TestCertificate m_certificate = TestCertificate::selfSigned();
    TlsServerContext m_tls{ m_certificate };
    QList<QByteArray> m_trusted{ m_certificate.fingerprint() };
    FTPEncryption m_encryption;
    FTPEngine m_engine;
    FTPTimeouts& m_timeouts = m_engine.timeouts();
    ConnectionPool& m_pool = m_engine.pool();
    EngineStreamFactory m_factory{ m_engine };
    ScriptedPeer m_peer;
    ScriptedPeer m_dataPeer;
    std::unique_ptr<PeerConnection> m_data;
    QByteArray m_sizeReply = "213 5";
    StreamRecorder m_recorder;
};

/// What is the same in clear and encrypted.
class EachEncryptionTest : public StreamTest, public ::testing::WithParamInterface<FTPEncryption> {
protected:
    EachEncryptionTest()
        : StreamTest(GetParam())
    {
    }
};

/// What is about encryption.
class TlsStreamTest : public StreamTest {
protected:
    TlsStreamTest()
        : StreamTest(FTPEncryption::Required)
    {
    }
};

inline std::string nameOfEncryption(const ::testing::TestParamInfo<FTPEncryption>& info)
{
    return info.param == FTPEncryption::Required ? "Encrypted" : "InClear";
}

/// Has each test of @p suite, derived from EachEncryptionTest, run both ways.
#define RUN_IN_CLEAR_AND_ENCRYPTED(suite)                                                                              \
    INSTANTIATE_TEST_SUITE_P(Streams, suite, ::testing::Values(FTPEncryption::None, FTPEncryption::Required),          \
                             nameOfEncryption)
