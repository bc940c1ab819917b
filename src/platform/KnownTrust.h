#pragma once

#include "CertificateTrust.h"

#include <QString>

class TrustedCertificates;

/// Decides about certificates by what the user has trusted before, and asks nobody.
class KnownTrust final : public CertificateTrust {
public:
    /// @p store outlives it.
    explicit KnownTrust(TrustedCertificates& store)
        : m_store(store)
    {
    }
    virtual ~KnownTrust() = default;

    void judge(const CertificateQuestion& question, std::function<void(bool isTrusted)> answer) override;

private:
    TrustedCertificates& m_store;
};

/// Whether @p store has a certificate that is trusted for the server of @p location.
bool isAnyTrusted(const TrustedCertificates& store, const QString& location);
/// Why @p store does not let the server of @p location be trusted whose certificate was refused, for people: words that
/// stand behind a colon.
QString untrustedText(const TrustedCertificates& store, const QString& location);
