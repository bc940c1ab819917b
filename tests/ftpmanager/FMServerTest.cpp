#include "FMServer.h"

#include "Printers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

TEST(FMServerTest, ANewRecordHasPort21AndNothingElse)
{
    const FMServer server;

    EXPECT_EQ(server.port(), 21);
    EXPECT_TRUE(server.destination().isNull());
    EXPECT_TRUE(server.username().isNull());
    EXPECT_TRUE(server.password().isNull());
}

TEST(FMServerTest, HoldsWhatItIsGiven)
{
    const auto server = FMServer::serverWithDestination(u"host/dir"_s, u" user "_s, QString());

    EXPECT_EQ(server->destination(), u"host/dir"_s);
    EXPECT_EQ(server->username(), u" user "_s);
    EXPECT_TRUE(server->password().isNull());
    EXPECT_EQ(server->port(), 21);
}

TEST(FMServerTest, AnAnonymousRecordHasAnEmptyPasswordThatIsNotNull)
{
    const auto server = FMServer::anonymousServerWithDestination(u"host"_s);

    EXPECT_EQ(server->username(), u"anonymous"_s);
    EXPECT_EQ(server->password(), u""_s);
    EXPECT_FALSE(server->password().isNull());
    EXPECT_EQ(server->port(), 21);
}

TEST(FMServerTest, CanBeReadWhileItIsChanged)
{
    FMServer server;
    std::atomic<bool> done = false;
    std::thread writer([&] {
        for (int round = 0; round < 1000; ++round) {
            server.setDestination(QString::number(round));
            server.setPort(round);
        }
        done = true;
    });

    while (!done) {
        EXPECT_GE(server.destination().size(), 0);
        EXPECT_GE(server.port(), 0);
    }
    writer.join();

    EXPECT_EQ(server.destination(), u"999"_s);
    EXPECT_EQ(server.port(), 999);
}

TEST(FMServerTest, ARecordHasNeitherAnAddressNorATimeLimitUntilTheyAreSet)
{
    FMServer server;
    EXPECT_TRUE(server.address().isNull());
    EXPECT_EQ(server.timeLimit(), std::chrono::milliseconds(0));

    server.setAddress(QHostAddress(QHostAddress::LocalHostIPv6));
    server.setTimeLimit(std::chrono::seconds(30));

    EXPECT_EQ(server.address(), QHostAddress(QHostAddress::LocalHostIPv6));
    EXPECT_EQ(server.timeLimit(), std::chrono::seconds(30));
}

} // namespace
