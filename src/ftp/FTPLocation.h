#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// Where a transfer goes: the parts of a location text, unescaped, as they go onto the wire.
struct FTPLocation {
    QString host; ///< Host name or address, without brackets.
    quint16 port = 21;
    QByteArray path; ///< Relative to the login folder; absolute when it begins with "/". In UTF-8.

    /// Reads ftp://host[:port]/path; std::nullopt when the text has another scheme, no host or no usable port. A query
    /// is unknown to FTP locations (RFC 1738, section 3.2.2), so a "?" belongs to the path. A user part is ignored.
    static std::optional<FTPLocation> fromText(const QString& text);

    /// The path without any "/" at its end.
    QByteArray pathWithoutTrailingSlashes() const;
    /// The folder that holds the item at the path, and the item's own name. A "/" at the end is ignored.
    QByteArray folder() const;
    QByteArray name() const;
};

/// Whether @p text can stand in a command: CR, LF and NUL would end it (RFC 959, section 5.3).
bool canBeSent(QByteArrayView text);
