#pragma once

#include <QHostAddress>

#include <sys/socket.h>

/// An address and port as the system's socket calls take them.
struct SocketAddress {
    sockaddr_storage storage{};
    socklen_t length = 0; ///< Of the part of storage in use, in bytes.
};

/// The IPv4 or IPv6 address @p host with @p port. A zone may be a number or the name of an interface; the name of none
/// counts as no zone.
SocketAddress socketAddress(const QHostAddress& host, quint16 port);
