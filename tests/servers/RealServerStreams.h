#pragma once

#include "EngineStreamFactory.h"
#include "FTPEngine.h"
#include "Printers.h"
#include "RealServer.h"
#include "ServerBytes.h"
#include "StreamRecorder.h"

#include <QUrl>

#include <gtest/gtest.h>

#include <memory>

/// A real server, and streams to it that run to their end one after another. Paths are relative to the folder that it
/// serves, and not escaped. With encryption the server takes nothing unencrypted.
class RealServerStreams {
protected:
    explicit RealServerStreams(ServerMake make)
        : m_server(std::make_unique<RealServer>(make))
    {
    }
    /// @p version: see RealServer.
    RealServerStreams(ServerMake make, FTPEncryption encryption, const QString& version = {})
        : m_encryption(encryption)
        , m_server(encryption == FTPEncryption::None ? std::make_unique<RealServer>(make)
                                                     : std::make_unique<RealServer>(make, m_certificate, version))
    {
    }

    QString location(const QString& path) const
    {
        return m_server->location(QString::fromLatin1(QUrl::toPercentEncoding(path, "/")));
    }

    void start(std::unique_ptr<FTPStream> stream)
    {
        EXPECT_TRUE(stream->setEncryption(m_encryption));
        stream->setTrustedCertificates(m_trusted);
        m_recorder.start(std::move(stream), m_server->userName(), m_password);
    }
    /// The last of the reports of @p stream.
    QString run(std::unique_ptr<FTPStream> stream)
    {
        start(std::move(stream));
        return m_recorder.waitForEnd().last();
    }
    QString upload(const QString& path, const QByteArray& bytes)
    {
        m_recorder.data = bytes;
        return run(m_streams.createUploadStream(location(path), bytes.size()));
    }
    QString download(const QString& path)
    {
        m_recorder.data.clear();
        auto stream = m_streams.createDownloadStream(location(path));
        stream->setFetchResourceInfo(true);
        return run(std::move(stream));
    }
    QString list(const QString& path)
    {
        m_recorder.data.clear();
        return run(m_streams.createListingStream(location(path)));
    }
    QString createFolder(const QString& path) { return run(m_streams.createFolderStream(location(path))); }

    bool serverHolds(const QString& path, const QByteArray& bytes) const { return holds(m_server->path(path), bytes); }

    TestCertificate m_certificate = TestCertificate::selfSigned();
    FTPEncryption m_encryption = FTPEncryption::None;
    std::unique_ptr<RealServer> m_server;
    QString m_password = m_server->password();
    QList<QByteArray> m_trusted{ m_certificate.fingerprint() };
    FTPEngine m_engine;
    EngineStreamFactory m_streams{ m_engine };
    StreamRecorder m_recorder;
};
