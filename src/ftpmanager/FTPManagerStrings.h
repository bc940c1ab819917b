#pragma once

#include <QString>

// The parts of a destination text such as "ftp://host/dir". All are pure functions (but for a warning in the log) and
// safe on any thread.

/// The destination without its scheme, whatever that is ("sftp://" too). When a ":" comes before the first "/" the log
/// warns of a port, which stays where it is.
QString stringWithoutProtocol(const QString& destination);

/// The host: what comes before the first "/".
QString fmhost(const QString& destination);

/// The folder: what comes after the first "/", with the slashes it has; empty for "host/", null for "host".
QString fmdir(const QString& destination);

/// The location ftp://host[:port][/folder], the folder percent-escaped. Port 21 is not written. Null when the outcome
/// is no URL.
QString ftpURLForPort(const QString& destination, qint32 port);
