#include "ScriptedServer.h"

#include "Printers.h"
#include "TextClient.h"

#include <QCryptographicHash>

#include <gtest/gtest.h>

#include <stdexcept>

using namespace Qt::StringLiterals;

TEST(ScriptedServerTest, KeepsWhatWasStoredAndWhatWasSaid)
{
    ScriptedServer server;
    TextClient client(server.port());
    client.logIn();

    client.store("gr\xc3\xbc\xc3\x9f e", "content");

    EXPECT_EQ(server.file(u"grüß e"_s), QByteArray("content"));
    ASSERT_EQ(server.storedFiles().size(), 1);
    EXPECT_EQ(server.storedFiles().first().name, "/gr\xc3\xbc\xc3\x9f e");
    EXPECT_EQ(server.storedFiles().first().sha256,
              QCryptographicHash::hash("content", QCryptographicHash::Sha256).toHex());
    EXPECT_TRUE(server.storedFiles().first().isComplete);
    EXPECT_EQ(server.commands(1), (QByteArrayList{ "USER anna", "PASS secret", "EPSV", "STOR gr\xc3\xbc\xc3\x9f e" }));
    EXPECT_EQ(server.dataConnectionCount(), 1);
}

TEST(ScriptedServerTest, AnswersByRulesThatCanChange)
{
    ScriptedServer server;
    server.on("NOOP", { "500 First" });
    TextClient client(server.port());
    client.logIn();
    EXPECT_EQ(client.ask("NOOP"), "500 First");

    server.add({ .on = "NOOP", .steps = { "raw \xff\r\n" }, .nth = 1 });
    EXPECT_EQ(client.ask("NOOP"), "\xff");
    EXPECT_EQ(client.ask("NOOP"), "500 First");

    server.forgetRules();
    EXPECT_EQ(client.ask("NOOP"), "200 Fine");
}

TEST(ScriptedServerTest, SpeaksOutOfTurn)
{
    ScriptedServer server;
    TextClient client(server.port());
    client.logIn();

    server.act(1, { "421 Idle for too long", "close" });

    EXPECT_EQ(client.hear(), "421 Idle for too long");
    EXPECT_EQ(server.connectionCount(), 1);
    EXPECT_EQ(server.openConnectionCount(), 0);
}

TEST(ScriptedServerTest, RefusesARuleThatMakesNoSense)
{
    ScriptedServer server;

    EXPECT_THROW(server.on("STOR", { "raed 1000" }), std::runtime_error);
}

TEST(ScriptedServerTest, KeepsItsRecordsWhenItIsStopped)
{
    ScriptedServer server;
    TextClient client(server.port());
    client.logIn();

    server.stop();

    EXPECT_EQ(server.commands(), (QByteArrayList{ "USER anna", "PASS secret" }));
    EXPECT_EQ(TextClient(server.port()).hear(), "");
}

TEST(ScriptedServerTest, WaitsForACommand)
{
    ScriptedServer server;
    TextClient client(server.port());
    client.say("NOOP");
    client.say("NOOP again");

    EXPECT_TRUE(server.waitForCommand("NOOP", 2));
    EXPECT_TRUE(server.waitForReply("220 Ready"));
}
