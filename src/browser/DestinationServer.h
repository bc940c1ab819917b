#pragma once

#include "FMServer.h"

/// The record of the server and folder that the location @p destination ("ftp://host:2121/a%20b/") names: the folder as
/// the user reads it, the location's port, 21 without one. Without both user name and password the login is anonymous,
/// as that of transfers.
std::shared_ptr<FMServer> serverOfDestination(const QString& destination, const QString& username,
                                              const QString& password);

/// Whether the location @p destination names its server by an IPv6 address.
bool hasIPv6Address(const QString& destination);

/// The fingerprint of the certificate that is trusted at the server of @p destination, 32 bytes; empty: none is. For
/// the main thread.
QByteArray trustedFingerprint(const QString& destination);
