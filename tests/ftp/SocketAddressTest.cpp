#include "SocketAddress.h"

#include <gtest/gtest.h>

#include <cstring>
#include <net/if.h>
#include <netinet/in.h>

using namespace Qt::StringLiterals;

namespace {

sockaddr_in6 ipv6Address(const QString& host, quint16 port)
{
    const SocketAddress address = socketAddress(QHostAddress(host), port);
    EXPECT_EQ(address.length, sizeof(sockaddr_in6));
    sockaddr_in6 v6{};
    std::memcpy(&v6, &address.storage, sizeof v6);
    return v6;
}

TEST(SocketAddressTest, AnIPv4AddressAndItsPortAreInNetworkOrder)
{
    const SocketAddress address = socketAddress(QHostAddress(u"192.0.2.7"_s), 2121);

    ASSERT_EQ(address.length, sizeof(sockaddr_in));
    sockaddr_in v4{};
    std::memcpy(&v4, &address.storage, sizeof v4);
    EXPECT_EQ(v4.sin_family, AF_INET);
    EXPECT_EQ(v4.sin_port, htons(2121));
    EXPECT_EQ(v4.sin_addr.s_addr, htonl(0xC0000207));
}

TEST(SocketAddressTest, AnIPv6AddressIsTakenWholeAndHasNoZone)
{
    const sockaddr_in6 v6 = ipv6Address(u"2001:db8::9"_s, 2121);

    EXPECT_EQ(v6.sin6_family, AF_INET6);
    EXPECT_EQ(v6.sin6_port, htons(2121));
    EXPECT_EQ(v6.sin6_addr.s6_addr[0], 0x20);
    EXPECT_EQ(v6.sin6_addr.s6_addr[15], 9);
    EXPECT_EQ(v6.sin6_scope_id, 0U);
}

TEST(SocketAddressTest, AZoneGivenAsANameBecomesTheIndexOfTheInterface)
{
    const unsigned int loopback = ::if_nametoindex("lo");
    ASSERT_NE(loopback, 0U);

    EXPECT_EQ(ipv6Address(u"fe80::1%lo"_s, 21).sin6_scope_id, loopback);
}

TEST(SocketAddressTest, AZoneGivenAsANumberIsTheIndex)
{
    EXPECT_EQ(ipv6Address(u"fe80::1%7"_s, 21).sin6_scope_id, 7U);
}

TEST(SocketAddressTest, AZoneOfNoInterfaceCountsAsNone)
{
    EXPECT_EQ(ipv6Address(u"fe80::1%nosuch0"_s, 21).sin6_scope_id, 0U);
}

} // namespace
