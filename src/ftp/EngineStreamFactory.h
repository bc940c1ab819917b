#pragma once

#include "FTPStream.h"

class CertificateTrust;
class FTPEngine;

/// Makes streams that speak to real servers, on the connections of an engine.
class EngineStreamFactory final : public FTPStreamFactory {
public:
    /// @p engine outlives the streams. Certificates that are not good are refused, unless a stream
    /// was given their fingerprints.
    explicit EngineStreamFactory(FTPEngine& engine)
        : m_engine(engine)
    {
    }
    /// @p trust judges such certificates, and @p knownTrust those of streams that ask nobody (null: they are refused).
    /// Both outlive the streams, too, and belong to the engine's thread.
    EngineStreamFactory(FTPEngine& engine, CertificateTrust& trust, CertificateTrust* knownTrust = nullptr)
        : m_engine(engine)
        , m_trust(&trust)
        , m_knownTrust(knownTrust)
    {
    }

    std::unique_ptr<FTPReadStream> createListingStream(const QString& location) override;
    std::unique_ptr<FTPReadStream> createDownloadStream(const QString& location) override;
    std::unique_ptr<FTPWriteStream> createUploadStream(const QString& location, qint64 length) override;
    std::unique_ptr<FTPWriteStream> createFolderStream(const QString& location) override;

private:
    FTPEngine& m_engine;
    CertificateTrust* m_trust = nullptr;
    CertificateTrust* m_knownTrust = nullptr;
};
