#pragma once

#include <QString>

/// The host of a location as it stands in the location's text: @p address when it is a host name, an IPv4 address or
/// an IPv6 address in brackets, each with or without ":" and a port of 1 to 65535. It stays spelled as it is, except
/// that a name beyond ASCII becomes its ASCII form. Null for everything else: blanks, user names, paths, empty
/// labels, addresses out of range, zone identifiers.
QString hostText(const QString& address);
