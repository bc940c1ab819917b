#include "HostLookup.h"

#include <QUrl>

#include <memory>
#include <netdb.h>
#include <netinet/in.h>

// Not by QHostInfo, which tells a loop of its answer only where there is an application object, and keeps a program
// from ending while a name server is silent.

QList<QHostAddress> addressesOfHost(const QString& host)
{
    addrinfo wanted = {};
    wanted.ai_family = AF_UNSPEC;
    wanted.ai_socktype = SOCK_STREAM;
    wanted.ai_flags = AI_ADDRCONFIG;
    const QByteArray name = QUrl::toAce(host);
    addrinfo* found = nullptr;
    if (name.isEmpty() || ::getaddrinfo(name.constData(), nullptr, &wanted, &found) != 0) {
        return {};
    }
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(found, ::freeaddrinfo);
    QList<QHostAddress> addresses;
    for (const addrinfo* each = found; each != nullptr; each = each->ai_next) {
        QHostAddress address(each->ai_addr);
        if (each->ai_family == AF_INET6) {
            const auto* const ipv6 = reinterpret_cast<const sockaddr_in6*>(each->ai_addr);
            if (ipv6->sin6_scope_id != 0) {
                address.setScopeId(QString::number(ipv6->sin6_scope_id));
            }
        }
        if (!address.isNull() && !addresses.contains(address)) {
            addresses.append(address);
        }
    }
    return addresses;
}
