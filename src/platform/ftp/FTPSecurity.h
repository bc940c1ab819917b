#pragma once

#include <QString>

/// How what was said to a server was protected.
struct FTPSecurity {
    QString protocol; ///< That of the encryption, such as "TLSv1.3"; null: everything went in clear.
    /// Whether the system trusts the server's certificate; otherwise the user does. False without encryption.
    bool isTrustedBySystem = false;
    QString cipher; ///< That of the control connection, such as "TLS_AES_256_GCM_SHA384"; null in clear.

    bool operator==(const FTPSecurity&) const = default;
};
