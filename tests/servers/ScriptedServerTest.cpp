#include "ScriptedServer.h"

#include "Printers.h"

#include <QCryptographicHash>
#include <QTcpSocket>

#include <gtest/gtest.h>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace {

/// A client that says lines and hears lines, blocking.
class Client {
public:
    explicit Client(quint16 port)
    {
        m_socket.connectToHost(u"127.0.0.1"_s, port);
        m_socket.waitForConnected();
    }

    QByteArray hear()
    {
        while (!m_socket.canReadLine() && m_socket.waitForReadyRead(20'000)) { }
        return m_socket.readLine().trimmed();
    }

    void say(const QByteArray& line)
    {
        m_socket.write(line + "\r\n");
        m_socket.waitForBytesWritten();
    }

    QByteArray ask(const QByteArray& line)
    {
        say(line);
        return hear();
    }

    void logIn()
    {
        hear();
        ask("USER anna");
        ask("PASS secret");
    }

    quint16 askForPort()
    {
        const QByteArray reply = ask("EPSV");
        return reply.mid(reply.indexOf("|||") + 3).chopped(2).toUShort();
    }

    void store(const QByteArray& name, const QByteArray& content)
    {
        QTcpSocket data;
        data.connectToHost(u"127.0.0.1"_s, askForPort());
        ask("STOR " + name);
        data.write(content);
        data.disconnectFromHost();
        if (data.state() != QTcpSocket::UnconnectedState) {
            data.waitForDisconnected();
        }
        hear();
    }

private:
    QTcpSocket m_socket;
};

} // namespace

TEST(ScriptedServerTest, KeepsWhatWasStoredAndWhatWasSaid)
{
    ScriptedServer server;
    Client client(server.port());
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
    Client client(server.port());
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
    Client client(server.port());
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
    Client client(server.port());
    client.logIn();

    server.stop();

    EXPECT_EQ(server.commands(), (QByteArrayList{ "USER anna", "PASS secret" }));
    EXPECT_EQ(Client(server.port()).hear(), "");
}

TEST(ScriptedServerTest, WaitsForACommand)
{
    ScriptedServer server;
    Client client(server.port());
    client.say("NOOP");
    client.say("NOOP again");

    EXPECT_TRUE(server.waitForCommand("NOOP", 2));
    EXPECT_TRUE(server.waitForReply("220 Ready"));
}
