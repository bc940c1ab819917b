#pragma once

#include <QString>

namespace quillbox {

/// @file
/// The parts of a destination text such as "ftp://host/dir". All are pure functions (but for a warning in the log) and
/// safe on any thread.

/// The destination without its scheme, whatever that is ("sftp://" too). When a ":" comes before the first "/" the log
/// warns of a port, which stays where it is.
/// @param destination the text
/// @return what stands behind "://", or all of it
Q_DECL_EXPORT QString stringWithoutProtocol(const QString& destination);

/// The host: what comes before the first "/".
/// @param destination the text
/// @return the host
Q_DECL_EXPORT QString fmhost(const QString& destination);

/// The folder: what comes after the first "/", with the slashes it has; empty for "host/", null for "host".
/// @param destination the text
/// @return the folder
Q_DECL_EXPORT QString fmdir(const QString& destination);

/// The location ftp://host[:port][/folder], the folder percent-escaped. Port 21 is not written. Null when the outcome
/// is no URL.
/// @param destination the text
/// @param port the port of the control connection
/// @return the location, percent-escaped
Q_DECL_EXPORT QString ftpURLForPort(const QString& destination, qint32 port);

} // namespace quillbox

#ifndef QUILLBOX_NO_GLOBAL_NAMES
using quillbox::fmdir;
using quillbox::fmhost;
using quillbox::ftpURLForPort;
using quillbox::stringWithoutProtocol;
#endif
