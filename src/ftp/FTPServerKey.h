#pragma once

#include "FTPEncryption.h"

#include <QByteArray>
#include <QHashFunctions>
#include <QString>

/// What a control connection is kept and reused by.
struct FTPServerKey {
    QString host;
    quint16 port = 21;
    QByteArray userName; ///< Empty for an anonymous login.
    QByteArray password;
    FTPEncryption encryption = FTPEncryption::None;

    bool operator==(const FTPServerKey&) const = default;
    bool isSameServer(const FTPServerKey& other) const { return host == other.host && port == other.port; }
};
