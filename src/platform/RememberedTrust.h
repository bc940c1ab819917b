#pragma once

#include "CertificateTrust.h"
#include "WeakRef.h"

#include <QByteArray>
#include <QSet>
#include <QString>

#include <functional>

class TrustedCertificates;

/// Asks the user about certificates. All calls come on the main thread.
class CertificatePrompt {
public:
    /// @p answer is to be called once, at once or later: true when the user trusts the certificate, which is then
    /// remembered for its host and port.
    virtual void askToTrust(const CertificateQuestion& question, std::function<void(bool isTrusted)> answer) = 0;
    /// The server has shown another certificate than the one that is trusted there, which may be an attack. It has been
    /// refused; until the old one is forgotten (TrustedCertificates::forget()) it always will be. @p trustedFingerprint
    /// is that of the old one: 32 bytes.
    virtual void certificateHasChanged(const CertificateQuestion& question, const QByteArray& trustedFingerprint) = 0;

protected:
    ~CertificatePrompt() = default;
};

/// Decides about certificates by the remembered answers, and asks the user about the others.
///
/// An answer counts for the transfers that follow, so that a queue of files asks once: trust for ever, a refusal until
/// forgetRefusals() is called. Likewise a changed certificate is reported once. Belongs to the main thread.
class RememberedTrust final : public CertificateTrust {
public:
    /// Both outlive it.
    RememberedTrust(TrustedCertificates& store, CertificatePrompt& prompt);
    virtual ~RememberedTrust() = default;

    void judge(const CertificateQuestion& question, std::function<void(bool isTrusted)> answer) override;

    /// The user may be asked again about a refused certificate, and warned again of a changed one: to be called when
    /// the user requests a connection.
    void forgetRefusals();

private:
    struct Shown {
        QString host;
        quint16 port = 0;
        QByteArray fingerprint;

        bool operator==(const Shown&) const = default;
        friend size_t qHash(const Shown& shown, size_t seed = 0)
        {
            return qHashMulti(seed, shown.host, shown.port, shown.fingerprint);
        }
    };

    bool answered(const CertificateQuestion& question, bool isTrusted);
    void warnOfChange(const CertificateQuestion& question, const QByteArray& known);

    TrustedCertificates& m_store;
    CertificatePrompt& m_prompt;
    QSet<Shown> m_refused;
    QSet<Shown> m_warnedAbout; ///< Where another certificate than the trusted one was shown; no fingerprints.
    WeakAnchor m_anchor;
};
