#pragma once

#include "ServerCertificate.h"

#include <QString>

#include <functional>

/// A certificate that is not good by the system's store or the name of the host, and the server that has shown it.
struct CertificateQuestion {
    QString host; ///< As the location spells it, without brackets.
    quint16 port = 21;
    ServerCertificate certificate; ///< With one problem at least.
};

/// Decides whether a server with a certificate that is not good may be talked to all the same: by what is remembered,
/// or by asking somebody. Belongs to one thread.
class CertificateTrust {
public:
    /// @p answer is to be called once, with true for trust: at once or any time later, on the calling thread. Until
    /// then the transfers that wait stand still without a time limit. While a question is open it is not asked again,
    /// however many transfers wait for it; a later transfer asks again. An @p answer that nobody waits for any more
    /// does nothing, also when the streams, or their factory, are gone.
    virtual void judge(const CertificateQuestion& question, std::function<void(bool isTrusted)> answer) = 0;

protected:
    ~CertificateTrust() = default;
};
