#pragma once

#include "ConnectionPool.h"
#include "DeliveryGate.h"
#include "EngineStreamFactory.h"
#include "FTPEngine.h"
#include "Printers.h"
#include "ScriptedPeer.h"
#include "StreamRecorder.h"
#include "WaitFor.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

using End = PeerConnection::End;

/// A stream of an engine of the test's own against a server whose every line the test says.
class StreamTest : public ::testing::Test {
protected:
    ~StreamTest() override { DeliveryGate::ofThisThread().setClosed(false); }

    void startUpload(const QString& path, const QByteArray& data)
    {
        m_recorder.data = data;
        m_recorder.start(m_factory.createUploadStream(m_peer.location(path), data.size()));
    }
    void startDownload(const QString& path)
    {
        m_recorder.data.clear();
        auto stream = m_factory.createDownloadStream(m_peer.location(path));
        stream->setFetchResourceInfo(true);
        m_recorder.start(std::move(stream));
    }
    void startListing(const QString& path)
    {
        m_recorder.data.clear();
        m_recorder.start(m_factory.createListingStream(m_peer.location(path)));
    }
    void startCreation(const QString& path) { m_recorder.start(m_factory.createFolderStream(m_peer.location(path))); }

    /// A port that nobody listens on.
    static quint16 deadPort() { return ScriptedPeer().port(); }

    QByteArray extendedPassive() const { return "229 Come (|||" + QByteArray::number(m_dataPeer.port()) + "|)"; }

    QByteArray passive() const
    {
        const int port = m_dataPeer.port();
        return "227 Come (127,0,0,1," + QByteArray::number(port / 256) + ',' + QByteArray::number(port % 256) + ')';
    }

    /// Greets and takes the login that ends with @p rest, the commands behind the first three.
    std::unique_ptr<PeerConnection> logIn(const QByteArrayList& rest)
    {
        auto control = m_peer.accept();
        if (control == nullptr) {
            ADD_FAILURE() << "no control connection";
            return nullptr;
        }
        control->say("220 Ready");
        EXPECT_EQ(control->hear(3), (QByteArrayList{ "USER anna", "PASS secret", "PWD" }));
        EXPECT_EQ(control->hear(static_cast<int>(rest.size())), rest);
        control->say("331 Password");
        control->say("230 In");
        control->say("257 \"/home\" is it");
        return control;
    }

    /// The login of a first transfer in the login folder, up to the data connection and the command behind it.
    std::unique_ptr<PeerConnection> open(const QByteArray& command, QByteArrayList rest = { "TYPE I", "EPSV" })
    {
        auto control = logIn(rest);
        if (control != nullptr) {
            for (qsizetype i = 0; i + 1 < rest.size(); ++i) {
                control->say(rest[i].startsWith("SIZE") ? m_sizeReply : QByteArray("200 Fine"));
            }
            control->say(extendedPassive());
            m_data = m_dataPeer.accept();
            EXPECT_EQ(control->hear(), command);
        }
        return control;
    }

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
