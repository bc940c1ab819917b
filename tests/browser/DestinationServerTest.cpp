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

TEST(DestinationServerTest, WithoutUserNameAndPasswordTheLoginIsAnonymous)
{
    const std::pair<QString, QString> logins[]{ { QString(), QString() },
                                                { u"anna"_s, u""_s },
                                                { u""_s, u"secret"_s } };
    for (const auto& [username, password] : logins) {
        const auto server = serverOfDestination(u"ftp://host/"_s, username, password);
        EXPECT_EQ(server->username(), u"anonymous"_s);
        EXPECT_EQ(server->password(), u"anonymous@"_s);
    }
}

TEST(DestinationServerTest, NoDestinationStaysNone)
{
    EXPECT_TRUE(serverOfDestination(QString(), u"anna"_s, u"secret"_s)->destination().isNull());
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
