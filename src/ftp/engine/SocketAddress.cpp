#include "SocketAddress.h"

#include <cstring>
#include <net/if.h>
#include <netinet/in.h>
#include <type_traits>

namespace {

/// The index of the interface that a link-local address belongs to; 0 for none.
quint32 interfaceIndex(const QString& scopeId)
{
    bool isNumber = false;
    const quint32 index = scopeId.toUInt(&isNumber);
    return isNumber ? index : ::if_nametoindex(scopeId.toLatin1().constData());
}

} // namespace

SocketAddress socketAddress(const QHostAddress& host, quint16 port)
{
    SocketAddress address;
    if (host.protocol() == QAbstractSocket::IPv4Protocol) {
        sockaddr_in v4{};
        v4.sin_family = AF_INET;
        v4.sin_port = htons(port);
        v4.sin_addr.s_addr = htonl(host.toIPv4Address());
        std::memcpy(&address.storage, &v4, sizeof v4);
        address.length = sizeof v4;
    } else {
        sockaddr_in6 v6{};
        v6.sin6_family = AF_INET6;
        v6.sin6_port = htons(port);
        const Q_IPV6ADDR bytes = host.toIPv6Address();
        static_assert(std::is_trivially_copyable_v<Q_IPV6ADDR> && sizeof bytes == sizeof v6.sin6_addr);
        std::memcpy(&v6.sin6_addr, &bytes, sizeof bytes);
        v6.sin6_scope_id = interfaceIndex(host.scopeId());
        std::memcpy(&address.storage, &v6, sizeof v6);
        address.length = sizeof v6;
    }
    return address;
}
