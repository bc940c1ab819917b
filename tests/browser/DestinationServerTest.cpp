#include "DestinationServer.h"

#include "Printers.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(DestinationServerTest, TheFolderIsAsTheUserReadsIt)
{
    const auto server = serverOfDestination(u"ftp://Host/in%20box/%C3%A9%2541/"_s, u"anna"_s, u"secret"_s);

    EXPECT_EQ(server->destination(), u"ftp://Host/in box/é%41/"_s);
    EXPECT_EQ(server->username(), u"anna"_s);
    EXPECT_EQ(server->password(), u"secret"_s);
    EXPECT_EQ(server->port(), 21);
}

TEST(DestinationServerTest, AnAddressWithAPortGivesHostAndPort)
{
    const auto server = serverOfDestination(u"ftp://host:2121/a/"_s, u""_s, u""_s);
    EXPECT_EQ(server->destination(), u"ftp://host/a/"_s);
    EXPECT_EQ(server->port(), 2121);

    const auto ipv6 = serverOfDestination(u"ftp://[::1]:2121/a:5/"_s, u""_s, u""_s);
    EXPECT_EQ(ipv6->destination(), u"ftp://[::1]/a:5/"_s);
    EXPECT_EQ(ipv6->port(), 2121);
}

TEST(DestinationServerTest, NothingStaysNothing)
{
    const auto server = serverOfDestination(QString(), QString(), QString());

    EXPECT_TRUE(server->destination().isNull());
    EXPECT_TRUE(server->username().isNull());
    EXPECT_TRUE(server->password().isNull());
}

TEST(DestinationServerTest, AnIPv6AddressIsToldFromOthers)
{
    EXPECT_TRUE(hasIPv6Address(u"ftp://[::1]/a/"_s));
    EXPECT_TRUE(hasIPv6Address(u"ftp://[fe80::1]:2121/"_s));
    EXPECT_FALSE(hasIPv6Address(u"ftp://host/[::1]/"_s));
    EXPECT_FALSE(hasIPv6Address(u"ftp://127.0.0.1:2121/"_s));
    EXPECT_FALSE(hasIPv6Address(QString()));
}

} // namespace
