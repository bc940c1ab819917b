#pragma once

#include "FTPStream.h"

class CertificateTrust;

/// Makes streams that speak to real servers, on the connections of the calling thread.
class EngineStreamFactory final : public FTPStreamFactory {
public:
    /// Certificates that are not good are refused, unless a stream is told to trust them.
    EngineStreamFactory() = default;
    /// @p trust judges such certificates; it outlives the streams, which belong to its thread.
    explicit EngineStreamFactory(CertificateTrust& trust)
        : m_trust(&trust)
    {
    }

    std::unique_ptr<FTPReadStream> createListingStream(const QString& location) override;
    std::unique_ptr<FTPReadStream> createDownloadStream(const QString& location) override;
    std::unique_ptr<FTPWriteStream> createUploadStream(const QString& location, qint64 length) override;
    std::unique_ptr<FTPWriteStream> createFolderStream(const QString& location) override;
    QString lastReply() const override;
    QString lastUploadReply() const override;
    std::optional<FTPSecurity> lastSecurity() const override;
    void closeIdleConnections(const QString& location) override;
    std::unique_ptr<FTPProbe> startProbe(const FTPProbeRequest& request, FTPProbeHandler handler) override;

private:
    CertificateTrust* m_trust = nullptr;
};
