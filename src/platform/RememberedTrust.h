#pragma once

#include "CertificateTrust.h"
#include "WeakRef.h"

#include <QByteArray>
#include <QHash>
#include <QSet>
#include <QString>

#include <functional>
#include <vector>

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
    /// The file at @p filePath, which says what is trusted, is damaged (TrustedCertificates::isDamaged()); the server
    /// has been refused. @p answer is to be called once, at once or later: true when the damage is to be forgotten.
    virtual void trustIsDamaged(const QString& filePath, std::function<void(bool isToForget)> answer) = 0;
    /// The damage was to be forgotten, and the file at @p filePath could not be written.
    virtual void damageCannotBeForgotten(const QString& filePath) = 0;

protected:
    ~CertificatePrompt() = default;
};

/// Decides about certificates by the remembered answers, and asks the user about the others.
///
/// An answer counts for the transfers that follow, so that a queue of files asks once: trust for ever, a refusal until
/// forgetRefusals() is called, for all certificates that the server shows. Likewise a changed certificate is reported
/// once, and that what is trusted cannot be read: as long as that is so, every server is refused that is not known to
/// be trusted. Belongs to the main thread.
class RememberedTrust final : public CertificateTrust {
public:
    /// Both outlive it.
    RememberedTrust(TrustedCertificates& store, CertificatePrompt& prompt);
    virtual ~RememberedTrust() = default;

    void judge(const CertificateQuestion& question, std::function<void(bool isTrusted)> answer) override;

    /// The user may be asked again about a refused server, and warned again of a changed certificate or a damaged file:
    /// to be called when the user requests a connection.
    void forgetRefusals();

private:
    struct Server {
        QString host; ///< In lower case.
        quint16 port = 0;

        bool operator==(const Server&) const = default;
        friend size_t qHash(const Server& server, size_t seed = 0)
        {
            return qHashMulti(seed, server.host, server.port);
        }
    };
    struct Waiting {
        CertificateQuestion question;
        std::function<void(bool)> answer;
    };

    void answered(const Server& server, bool isTrusted);
    void warnOfChange(const CertificateQuestion& question, const QByteArray& known);
    void warnOfDamage();

    TrustedCertificates& m_store;
    CertificatePrompt& m_prompt;
    QSet<Server> m_refused;
    QSet<Server> m_warnedAbout; ///< Which have shown another certificate than the trusted one.
    QHash<Server, std::vector<Waiting>>
        m_open; ///< What waits for an answer; the first is what the user is asked about.
    bool m_isDamageReported = false;
    bool m_isDamageShown = false; ///< The user has not decided yet.
    WeakAnchor m_anchor;
};
