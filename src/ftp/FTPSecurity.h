#pragma once

#include <QString>

/// How what was said to a server was protected.
struct FTPSecurity {
    QString protocol; ///< The encryption's, such as "TLSv1.3"; null: there was no encryption.
    /// Whether the system trusts the server's certificate; otherwise the user does. False without encryption.
    bool isTrustedBySystem = false;
    QString cipher; ///< The control connection's, such as "TLS_AES_256_GCM_SHA384"; null without encryption.

    bool operator==(const FTPSecurity&) const = default;
};
