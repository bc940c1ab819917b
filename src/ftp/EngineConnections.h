#pragma once

#include "FTPConnections.h"

class CertificateTrust;
class FTPEngine;

/// The connections of an engine.
class EngineConnections final : public FTPConnections {
public:
    /// Both outlive this and the connection tests; @p trust judges the certificates that the tests meet and that are
    /// not good. Null: they are refused.
    explicit EngineConnections(FTPEngine& engine, CertificateTrust* trust = nullptr)
        : m_engine(engine)
        , m_trust(trust)
    {
    }

    void closeIdleConnections(const QString& location) override;
    bool allowsFurtherLogins(const QString& location) const override;
    std::unique_ptr<FTPConnectionTest> startConnectionTest(const FTPConnectionTestRequest& request,
                                                           FTPConnectionTestHandler handler) override;

private:
    FTPEngine& m_engine;
    CertificateTrust* m_trust;
};
