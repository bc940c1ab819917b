#include "CarefulConversation.h"
#include "ControlServer.h"
#include "ControlSocket.h"
#include "DeadPort.h"
#include "FTPManager.h"
#include "FaultySocketCalls.h"
#include "LogRecorder.h"
#include "OpenDescriptors.h"
#include "Printers.h"
#include "SocketOptions.h"

#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <limits>
#include <netinet/tcp.h>
#include <optional>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// A server that greets, waits for the whole conversation, answers @p replies and closes.
std::function<void(ControlPeer&)> answering(const QByteArray& replies)
{
    return [replies](ControlPeer& peer) {
        peer.receiveUntil("QUIT\r\n");
        peer.send(replies);
    };
}

std::shared_ptr<FMServer> recordFor(const ControlServer& server, const QString& folder = {})
{
    auto record = FMServer::serverWithDestination(u"ftp://127.0.0.1"_s + folder, u"user"_s, u"word"_s);
    record->setPort(server.port());
    return record;
}

/// What checkLogin() makes of a server's replies.
bool verdictOn(const QByteArray& replies)
{
    const ControlServer server(answering(replies));
    return FTPManager().checkLogin(recordFor(server).get());
}

/// What @p operation sends to a server for @p folder.
template <typename Operation> QByteArray sentBy(Operation operation, const QString& folder = {})
{
    ControlServer server(answering("220 hello\r\n230 in\r\n250 done\r\n221 bye\r\n"));
    FTPManager manager;
    EXPECT_TRUE(operation(manager, recordFor(server, folder).get()));
    server.close();
    return server.received().value(0);
}

TEST(FTPManagerControlTest, AFileIsDeletedWithOnePipelinedConversation)
{
    const auto remove
        = [](FTPManager& manager, const FMServer* server) { return manager.deleteFileNamed(u"notes.txt"_s, server); };

    EXPECT_EQ(sentBy(remove), "USER user\r\nPASS word\r\nDELE notes.txt\r\nQUIT\r\n"_ba);
}

TEST(FTPManagerControlTest, ANameWithoutADotIsRemovedAsAFolder)
{
    const auto remove
        = [](FTPManager& manager, const FMServer* server) { return manager.deleteFileNamed(u"Archive"_s, server); };
    const auto removeDotted
        = [](FTPManager& manager, const FMServer* server) { return manager.deleteFileNamed(u"v1.2"_s, server); };

    EXPECT_EQ(sentBy(remove), "USER user\r\nPASS word\r\nRMD Archive\r\nQUIT\r\n"_ba);
    EXPECT_EQ(sentBy(removeDotted), "USER user\r\nPASS word\r\nDELE v1.2\r\nQUIT\r\n"_ba);
}

TEST(FTPManagerControlTest, ANameThatIsNoUTF8IsSentByItsBytes)
{
    const auto remove
        = [](FTPManager& manager, const FMServer* server) { return manager.deleteFileNamed("caf\xE9.txt"_ba, server); };

    EXPECT_EQ(sentBy(remove), "USER user\r\nPASS word\r\nDELE caf\xE9.txt\r\nQUIT\r\n"_ba);
    EXPECT_FALSE(FTPManager().deleteFileNamed(QByteArray(), FMServer::anonymousServerWithDestination(u"h"_s).get()));
}

TEST(FTPManagerControlTest, TheFolderIsEnteredFirstAsItIsWritten)
{
    const auto remove
        = [](FTPManager& manager, const FMServer* server) { return manager.deleteFileNamed(u"é 50%.txt"_s, server); };

    EXPECT_EQ(sentBy(remove, u"/my dir/a%20b/"_s),
              "USER user\r\nPASS word\r\nCWD my dir/a%20b/\r\nDELE \xC3\xA9 50%.txt\r\nQUIT\r\n"_ba);
    EXPECT_EQ(sentBy(remove, u"/"_s), "USER user\r\nPASS word\r\nDELE \xC3\xA9 50%.txt\r\nQUIT\r\n"_ba);
}

TEST(FTPManagerControlTest, ALoginTestEntersNoFolder)
{
    const auto check = [](FTPManager& manager, const FMServer* server) { return manager.checkLogin(server); };

    EXPECT_EQ(sentBy(check, u"/dir"_s), "USER user\r\nPASS word\r\nQUIT\r\n"_ba);
}

TEST(FTPManagerControlTest, AnAnonymousLoginSendsAnEmptyPassword)
{
    ControlServer server(answering("230 in\r\n"));
    const auto record = FMServer::anonymousServerWithDestination(u"127.0.0.1"_s);
    record->setPort(server.port());

    EXPECT_TRUE(FTPManager().checkLogin(record.get()));

    server.close();
    EXPECT_EQ(server.received().value(0), "USER anonymous\r\nPASS \r\nQUIT\r\n"_ba);
}

TEST(FTPManagerControlTest, OfThePort16BitsCount)
{
    const ControlServer server(answering("230 in\r\n"));
    const auto record = recordFor(server);
    record->setPort(0x70000 + server.port());

    EXPECT_TRUE(FTPManager().checkLogin(record.get()));
}

TEST(FTPManagerControlTest, PermissionsAreSentAsTheyAreWritten)
{
    for (const quint32 mode : { 755U, 777U, 0U, 689U }) {
        const auto change = [mode](FTPManager& manager, const FMServer* server) {
            return manager.chmodFileNamed(u"my file"_s, mode, server);
        };

        EXPECT_EQ(sentBy(change, u"/dir"_s),
                  "USER user\r\nPASS word\r\nCWD dir\r\nSITE CHMOD " + QByteArray::number(mode)
                      + " my file\r\nQUIT\r\n");
    }
}

TEST(FTPManagerControlTest, PermissionsAbove777AreNotSent)
{
    ControlServer server(answering("200 ok\r\n"));

    EXPECT_FALSE(FTPManager().chmodFileNamed(u"name"_s, 778, recordFor(server).get()));

    server.close();
    EXPECT_TRUE(server.received().isEmpty());
}

TEST(FTPManagerControlTest, DeleteFileSendsTheSame)
{
    const auto remove
        = [](FTPManager& manager, const FMServer* server) { return manager.deleteFile(u"notes.txt"_s, server); };

    EXPECT_EQ(sentBy(remove), "USER user\r\nPASS word\r\nDELE notes.txt\r\nQUIT\r\n"_ba);
}

TEST(FTPManagerControlTest, EveryLineOfTheRepliesIsJudged)
{
    struct Row {
        const char* why;
        QByteArray replies;
        bool good;
    };
    for (const Row& row : {
             Row{ "all is well", "220 hi\r\n331 word?\r\n230 in\r\n250 gone\r\n221 bye\r\n", true },
             Row{ "nothing at all", "", true },
             Row{ "no such file", "220 hi\r\n331 word?\r\n230 in\r\n550 No such file\r\n221 bye\r\n", false },
             Row{ "refused login", "220 hi\r\n331 word?\r\n530 no\r\n", false },
             Row{ "refused folder, command done", "220 hi\r\n230 in\r\n550 no folder\r\n250 gone\r\n221 bye\r\n",
                  false },
             Row{ "busy", "421 too many\r\n", false },
             Row{ "refused QUIT", "220 hi\r\n230 in\r\n250 gone\r\n500 what?\r\n", false },
             Row{ "banner with a line that begins with 5", "220-hi\r\n5 users are here\r\n220 go\r\n230 in\r\n",
                  false },
             Row{ "banner with a line that begins with 4", "220-hi\r\n4 users\r\n220 go\r\n", false },
             Row{ "banner with such a number after a blank", "220-hi\r\n 5 users\r\n220 go\r\n", true },
             Row{ "LF alone", "220 hi\n550 no\n", false },
             Row{ "no line end", "550", false },
             Row{ "CR alone ends no line", "220 hi\r550 no\r\n", true },
             Row{ "NUL in a line", QByteArray("220 \0hi\r\n550 no\r\n", 18), false },
             Row{ "not UTF-8", "220 \xFF\xFE\r\n230 in\r\n", true },
             Row{ "not UTF-8, refused", "220 \xFF\xFE\r\n550 \xE9\r\n", false },
             Row{ "no FTP at all", "SSH-2.0\r\n", true },
         }) {
        SCOPED_TRACE(row.why);
        const LogRecorder log;

        EXPECT_EQ(verdictOn(row.replies), row.good);

        EXPECT_EQ(log.lines(), QStringList());
    }
}

TEST(FTPManagerControlTest, WhatFollowsAPieceOf255BytesCountsAsALine)
{
    EXPECT_TRUE(verdictOn("220 " + QByteArray(250, 'x') + "50 more\r\n"));
    EXPECT_FALSE(verdictOn("220 " + QByteArray(251, 'x') + "50 more\r\n"));
    EXPECT_TRUE(verdictOn("220 " + QByteArray(252, 'x') + "50 more\r\n"));
}

TEST(FTPManagerControlTest, RepliesOneByteAtATimeAreJudgedInTheEnd)
{
    const ControlServer server([](ControlPeer& peer) {
        peer.receiveUntil("QUIT\r\n");
        for (const char byte : "220 hi\r\n230 in\r\n"_ba) {
            peer.send(QByteArray(1, byte));
        }
    });

    // Cut after any byte, so that a "2" or "3" at most begins a line.
    EXPECT_TRUE(FTPManager().checkLogin(recordFor(server).get()));
}

TEST(FTPManagerControlTest, MoreThanOneMebibyteOfRepliesIsGivenUp)
{
    const QByteArray line = "220-" + QByteArray(95, 'x') + "\n";
    ASSERT_EQ(line.size(), 100);

    EXPECT_TRUE(verdictOn(line.repeated(10'000)));
    EXPECT_FALSE(verdictOn(line.repeated(11'000)));
}

TEST(FTPManagerControlTest, AnEndlessServerIsGivenUp)
{
    std::promise<void> gone;
    const ControlServer server([&gone](ControlPeer& peer) {
        peer.receiveUntil("QUIT\r\n");
        peer.send(QByteArray(64 << 20, 'x')); // Fails when the client is gone.
        gone.set_value();
    });

    EXPECT_FALSE(FTPManager().checkLogin(recordFor(server).get()));

    gone.get_future().wait();
}

TEST(FTPManagerControlTest, AConnectionResetMidwayIsLoggedAndJudgedByWhatCame)
{
    struct Row {
        QByteArray replies;
        bool good;
    };
    for (const Row& row :
         { Row{ "", true }, Row{ "220 hi\r\n230 in\r\n", true }, Row{ "220 hi\r\n550 no\r\n", false } }) {
        const ControlServer server([&row](ControlPeer& peer) {
            peer.receiveUntil("QUIT\r\n");
            peer.send(row.replies);
            peer.resetOnClose();
        });
        const LogRecorder log;

        EXPECT_EQ(FTPManager().checkLogin(recordFor(server).get()), row.good);

        EXPECT_EQ(log.lines(), QStringList{ u"Error reading from socket!"_s });
    }
}

TEST(FTPManagerControlTest, ALineThatIsNotTakenFailsWithoutAWord)
{
    // Were a signal raised for a connection that is gone, it would end this program.
    const ControlServer server(answering("230 in\r\n"));
    for (const int lines : { 0, 1, 4 }) { // Of five.
        const LogRecorder log;
        const FaultySocketCalls faults;
        FaultySocketCalls::breakAfterSends(lines);

        EXPECT_FALSE(FTPManager().deleteFileNamed(u"a.txt"_s, recordFor(server, u"/dir"_s).get()));

        EXPECT_EQ(log.lines(), QStringList());
    }
}

TEST(FTPManagerControlTest, InterruptedCallsAndShortSendsGoOn)
{
    const auto remove = [](FTPManager& manager, const FMServer* server) {
        const FaultySocketCalls faults;
        FaultySocketCalls::interruptCalls();
        FaultySocketCalls::shortenSends();
        return manager.deleteFileNamed(u"notes.txt"_s, server);
    };
    const LogRecorder log;

    EXPECT_EQ(sentBy(remove), "USER user\r\nPASS word\r\nDELE notes.txt\r\nQUIT\r\n"_ba);

    EXPECT_EQ(log.lines(), QStringList());
}

TEST(FTPManagerControlTest, AServerThatHangsUpAtOnceEndsTheConversation)
{
    const ControlServer server([](ControlPeer& peer) { peer.send("421 busy\r\n"); });
    for (int round = 0; round < 50; ++round) {
        const LogRecorder log;

        // Whether the refusal is read, or lost with the connection, or a line is not taken, is up to the network.
        const bool accepted = FTPManager().deleteFileNamed(u"a.txt"_s, recordFor(server).get());

        EXPECT_TRUE(!accepted || log.lines() == QStringList{ u"Error reading from socket!"_s });
    }
}

TEST(FTPManagerControlTest, APortWhereNobodyListensIsLogged)
{
    quint16 port = 0;
    {
        const ControlServer server(answering(""));
        port = server.port();
    }
    const auto record = FMServer::serverWithDestination(u"127.0.0.1"_s, u"user"_s, u"word"_s);
    record->setPort(port);
    for (const bool isInterrupted : { false, true }) {
        const LogRecorder log;
        const FaultySocketCalls faults;
        if (isInterrupted) {
            FaultySocketCalls::interruptCalls();
        }

        EXPECT_FALSE(FTPManager().checkLogin(record.get()));

        EXPECT_EQ(log.lines(), QStringList{ u"error connecting."_s });
    }
}

TEST(FTPManagerControlTest, WithoutADescriptorThereIsNoSocket)
{
    const ControlServer server(answering("230 in\r\n"));
    const LogRecorder log;
    const NoDescriptorLeft none;

    EXPECT_FALSE(FTPManager().checkLogin(recordFor(server).get()));

    EXPECT_EQ(log.lines(), QStringList{ u"could not open socket!"_s });
}

TEST(FTPManagerControlTest, AHostThatIsNotKnownIsLogged)
{
    for (const QString& host : { u"no such host"_s, u"::1"_s, u""_s }) {
        const auto record = FMServer::serverWithDestination(host, u"user"_s, u"word"_s);
        const LogRecorder log;

        EXPECT_FALSE(FTPManager().checkLogin(record.get()));

        EXPECT_EQ(log.lines().last(), u"host error!"_s);
    }
}

TEST(FTPManagerControlTest, APortInTheDestinationDoesNotResolve)
{
    const ControlServer server(answering(""));
    const auto record = FMServer::serverWithDestination(u"127.0.0.1:"_s + QString::number(server.port()) + u"/dir"_s,
                                                        u"user"_s, u"word"_s);
    const LogRecorder log;

    EXPECT_FALSE(FTPManager().deleteFileNamed(u"a.txt"_s, record.get()));

    EXPECT_EQ(log.lines().last(), u"host error!"_s);
}

TEST(FTPManagerControlTest, LineEndsAndNulAreRefusedBeforeAnythingIsSent)
{
    ControlServer server(answering("200 ok\r\n"));
    FTPManager manager;
    for (const QString& bad : { u"a.\rb"_s, u"a.\nb"_s, u"a.\0b"_s, u"a.\r\nDELE c"_s }) {
        const auto record = recordFor(server);
        EXPECT_FALSE(manager.deleteFileNamed(bad, record.get()));
        EXPECT_FALSE(manager.deleteFile(bad, record.get()));
        EXPECT_FALSE(manager.chmodFileNamed(bad, 644, record.get()));
        const auto badFolder = recordFor(server, u'/' + bad);
        EXPECT_FALSE(manager.deleteFileNamed(u"a.b"_s, badFolder.get()));
        const auto badLogin = recordFor(server);
        badLogin->setUsername(bad);
        EXPECT_FALSE(manager.checkLogin(badLogin.get()));
        badLogin->setUsername(u"user"_s);
        badLogin->setPassword(bad);
        EXPECT_FALSE(manager.checkLogin(badLogin.get()));
    }

    server.close();
    EXPECT_TRUE(server.received().isEmpty());
}

TEST(FTPManagerControlTest, ALineThatFillsTheBufferIsSentAndALongerOneRefused)
{
    // 256 bytes hold "DELE ", the name, CR LF and a NUL.
    const QString longest = u"."_s + QString(247, u'x');
    const auto remove
        = [&longest](FTPManager& manager, const FMServer* server) { return manager.deleteFileNamed(longest, server); };
    EXPECT_TRUE(sentBy(remove).contains("DELE " + longest.toUtf8() + "\r\n"));

    ControlServer server(answering("200 ok\r\n"));
    FTPManager manager;
    EXPECT_FALSE(manager.deleteFileNamed(longest + u'x', recordFor(server).get()));
    EXPECT_FALSE(manager.deleteFileNamed(u"a.b"_s, recordFor(server, u'/' + QString(250, u'x')).get()));
    const auto record = recordFor(server);
    record->setPassword(QString(249, u'x'));
    EXPECT_FALSE(manager.checkLogin(record.get()));
    server.close();
    EXPECT_TRUE(server.received().isEmpty());
}

TEST(FTPManagerControlTest, SixteenConversationsRunSideBySide)
{
    // The server answers none before all have come.
    constexpr int count = 16;
    std::atomic<int> arrived = 0;
    std::promise<void> allArrived;
    const std::shared_future<void> go = allArrived.get_future().share();
    const ControlServer server([&](ControlPeer& peer) {
        peer.receiveUntil("QUIT\r\n");
        if (++arrived == count) {
            allArrived.set_value();
        }
        go.wait();
        peer.send("230 in\r\n");
    });
    std::vector<std::future<bool>> results;
    results.reserve(count);
    for (int i = 0; i < count; ++i) {
        results.push_back(
            std::async(std::launch::async, [&server] { return FTPManager().checkLogin(recordFor(server).get()); }));
    }

    for (std::future<bool>& result : results) {
        EXPECT_TRUE(result.get());
    }
}

TEST(FTPManagerControlTest, NoDescriptorStaysOpenOnAnyPath)
{
    quint16 deadPort = 0;
    {
        const ControlServer dead(answering(""));
        deadPort = dead.port();
    }
    const LogRecorder log;
    const int before = openDescriptors();
    {
        const ControlServer server(answering("230 in\r\n"));
        const ControlServer rude([](ControlPeer& peer) { peer.resetOnClose(); });
        FTPManager manager;
        for (int round = 0; round < 20; ++round) {
            EXPECT_TRUE(manager.checkLogin(recordFor(server).get()));
            (void)manager.checkLogin(recordFor(rude).get());
            const auto unreachable = recordFor(server);
            unreachable->setPort(deadPort);
            EXPECT_FALSE(manager.checkLogin(unreachable.get()));
            unreachable->setDestination(u"no such host"_s);
            EXPECT_FALSE(manager.checkLogin(unreachable.get()));
        }
    }

    EXPECT_TRUE(waitForDescriptors([before](int count) { return count == before; }));
}

TEST(FTPManagerControlTest, TheAddressOfTheRecordIsConnectedToWhateverTheHostIsCalled)
{
    for (const auto& [family, address] :
         { std::pair{ ControlServer::Family::IPv4, QHostAddress(QHostAddress::LocalHost) },
           std::pair{ ControlServer::Family::IPv6, QHostAddress(QHostAddress::LocalHostIPv6) } }) {
        SCOPED_TRACE(address.toString().toStdString());
        ControlServer server(answering("220 hello\r\n230 in\r\n250 there\r\n250 done\r\n221 bye\r\n"), family);
        const auto record = FMServer::serverWithDestination(u"nowhere.invalid/in"_s, u"user"_s, u"word"_s);
        record->setPort(server.port());
        record->setAddress(address);

        EXPECT_TRUE(FTPManager().deleteFileNamed(u"a.txt"_s, record.get()));

        server.close();
        EXPECT_EQ(server.received().value(0), "USER user\r\nPASS word\r\nCWD in\r\nDELE a.txt\r\nQUIT\r\n"_ba);
    }
}

TEST(FTPManagerControlTest, TheSystemKeepsTheConnectionAlive)
{
    std::optional<int> isKept;
    std::optional<int> idle;
    std::optional<int> interval;
    quint16 port = 0;
    const ControlServer server([&](ControlPeer& peer) {
        peer.receiveUntil("QUIT\r\n");
        isKept = optionOfSocketTo(port, SOL_SOCKET, SO_KEEPALIVE);
        idle = optionOfSocketTo(port, IPPROTO_TCP, TCP_KEEPIDLE);
        interval = optionOfSocketTo(port, IPPROTO_TCP, TCP_KEEPINTVL);
        peer.send("220 hello\r\n230 in\r\n221 bye\r\n");
    });
    port = server.port();

    EXPECT_TRUE(FTPManager().checkLogin(recordFor(server).get()));

    EXPECT_EQ(isKept, 1);
    EXPECT_EQ(idle, 60);
    EXPECT_EQ(interval, 60);
}

TEST(FTPManagerControlTest, AServerThatIsSilentForTheRecordsTimeLimitFails)
{
    for (const char* said : { "", "220 hello\r\n", "220 hello\r\n331 p\r\n230 in\r\n" }) {
        SCOPED_TRACE(said);
        std::promise<void> hasAnswered;
        const ControlServer server([said, &hasAnswered](ControlPeer& peer) {
            peer.send(said);
            hasAnswered.get_future().wait();
        });
        const auto record = recordFor(server);
        record->setTimeLimit(50ms);
        const LogRecorder log;
        FTPManager manager;

        EXPECT_FALSE(manager.checkLogin(record.get()));

        EXPECT_TRUE(manager.isUndecided());
        EXPECT_EQ(log.lines(), QStringList{ u"the server has not answered in time"_s });
        hasAnswered.set_value();
    }
}

TEST(FTPManagerControlTest, ARefusalIsTheReasonAlsoWhenTheServerFallsSilentBehindIt)
{
    std::promise<void> isOver;
    const ControlServer server([&isOver](ControlPeer& peer) {
        peer.send("220 hello\r\n331 p\r\n530 Login incorrect\r\n");
        isOver.get_future().wait();
    });
    const auto record = recordFor(server);
    record->setTimeLimit(100ms);
    FTPManager manager;

    EXPECT_FALSE(manager.checkLogin(record.get()));

    EXPECT_EQ(manager.lastFailure().kind, FMFailure::Kind::LoginRefused);
    EXPECT_EQ(manager.lastFailure().words, u"530 Login incorrect"_s);
    EXPECT_FALSE(manager.isUndecided());
    isOver.set_value();
}

TEST(FTPManagerControlTest, WhatWasNeverSentIsNotSaidToBeUndecided)
{
    const DeadPort unanswered(DeadPort::Kind::Full);
    for (const auto encryption : { FTPEncryption::None, FTPEncryption::Required }) {
        const auto record = FMServer::serverWithDestination(u"127.0.0.1"_s, u"user"_s, u"word"_s);
        record->setPort(unanswered.port());
        record->setTimeLimit(50ms);
        record->setEncryption(encryption);
        FTPManager manager;

        EXPECT_FALSE(manager.checkLogin(record.get()));

        EXPECT_FALSE(manager.isUndecided());
    }
}

TEST(FTPManagerControlTest, WithATimeLimitASocketThatHasNoRoomIsWaitedFor)
{
    FaultySocketCalls calls;
    calls.fillBuffersFor(3);
    const ControlServer server(answering("220 hello\r\n230 in\r\n221 bye\r\n"));
    const auto record = recordFor(server);
    record->setTimeLimit(1h);

    EXPECT_TRUE(FTPManager().checkLogin(record.get()));
}

TEST(FTPManagerControlTest, ASocketThatNeverHasRoomIsWaitedForNoLongerThanTheTimeLimit)
{
    FaultySocketCalls calls;
    calls.fillBuffersFor(std::numeric_limits<int>::max());
    const ControlServer server([](ControlPeer& peer) { peer.receiveUntil("QUIT\r\n"); });
    const auto record = recordFor(server);
    record->setTimeLimit(50ms);
    FTPManager manager;

    EXPECT_FALSE(manager.checkLogin(record.get()));

    EXPECT_FALSE(manager.isUndecided());
}

TEST(FTPManagerControlTest, AServerThatDoesNotCloseHasAnsweredAllTheSame)
{
    for (const auto& [verdict, reply] : { std::pair{ true, "250 done\r\n" }, std::pair{ false, "550 no\r\n" } }) {
        std::promise<void> hasAnswered;
        const ControlServer server([reply = QByteArray(reply), &hasAnswered](ControlPeer& peer) {
            peer.receiveUntil("QUIT\r\n");
            peer.send("220 hello\r\n230 in\r\n" + reply + "221 bye\r\n");
            hasAnswered.get_future().wait();
        });
        const auto record = recordFor(server);
        record->setTimeLimit(200ms);
        FTPManager manager;

        EXPECT_EQ(manager.deleteFileNamed(u"a.txt"_s, record.get()), verdict);

        EXPECT_FALSE(manager.isUndecided());
        hasAnswered.set_value();
    }
}

TEST(FTPManagerControlTest, WithATimeLimitInterruptedCallsGoOn)
{
    FaultySocketCalls calls;
    calls.interruptCalls();
    calls.shortenSends();
    const ControlServer server(answering("220 hello\r\n230 in\r\n221 bye\r\n"));
    const auto record = recordFor(server);
    record->setTimeLimit(1h);

    EXPECT_TRUE(FTPManager().checkLogin(record.get()));
}

/// A server that accepts all up to @p last, a line, and answers @p reply to that.
std::function<void(ControlPeer&)> acceptingUpTo(const QByteArray& last, const QByteArray& reply)
{
    return [last, reply](ControlPeer& peer) {
        peer.send("220 hello\r\n");
        for (const QByteArray& line :
             { "USER user\r\n"_ba, "PASS word\r\n"_ba, "CWD dir\r\n"_ba, "DELE a.txt\r\n"_ba }) {
            peer.receiveUntil(line.startsWith("DELE") ? line : "CWD dir\r\n"_ba); // The first three come at once.
            peer.send(line == last ? reply : line.startsWith("USER") ? "331 go on\r\n"_ba : "250 done\r\n"_ba);
            if (line == last) {
                break;
            }
        }
        peer.receiveUntil("QUIT\r\n");
        peer.send("221 bye\r\n");
    };
}

std::shared_ptr<FMServer> carefulRecordFor(const ControlServer& server)
{
    auto record = recordFor(server, u"/dir"_s);
    record->setCareful(true);
    return record;
}

const QByteArray wholeConversation = "USER user\r\nPASS word\r\nCWD dir\r\nDELE a.txt\r\nQUIT\r\n";

TEST(CarefulConversationTest, RecordsAreNotCarefulAtFirst)
{
    EXPECT_FALSE(FMServer().isCareful());
}

TEST(CarefulConversationTest, TheSameCommandsAreSentTheOneThatCountsWhenAllBeforeWasAccepted)
{
    struct Row {
        QByteArray command;
        std::function<bool(FTPManager&, const FMServer*)> operation;
    };
    for (const Row& row :
         { Row{ "DELE a.txt", [](auto&manager, auto*record) { return manager.deleteFileNamed(u"a.txt"_s, record); } },
           Row{ "RMD a", [](auto&manager, auto*record) { return manager.deleteFileNamed(u"a"_s, record); } },
           Row{ "SITE CHMOD 644 a.txt",
                [](auto&manager, auto*record) { return manager.chmodFileNamed(u"a.txt"_s, 644, record); } } }) {
        SCOPED_TRACE(row.command.constData());
        ControlServer server([command = row.command](ControlPeer& peer) {
            peer.send("220-hello\r\n220 there\r\n");
            peer.receiveUntil("CWD dir\r\n");
            EXPECT_EQ(peer.received(), "USER user\r\nPASS word\r\nCWD dir\r\n");
            peer.send("331 go on\r\n230 in\r\n250 there\r\n");
            peer.receiveUntil(command + "\r\n");
            EXPECT_FALSE(peer.received().contains("QUIT"));
            peer.send("250 done\r\n");
            peer.receiveUntil("QUIT\r\n");
            peer.send("221 bye\r\n");
        });

        FTPManager manager;
        EXPECT_TRUE(row.operation(manager, carefulRecordFor(server).get()));

        EXPECT_EQ(manager.lastFailure().kind, FMFailure::Kind::None);
        server.close();
        EXPECT_EQ(server.received(),
                  QList<QByteArray>{ "USER user\r\nPASS word\r\nCWD dir\r\n" + row.command + "\r\nQUIT\r\n" });
    }
}

TEST(CarefulConversationTest, NothingIsDeletedWhenTheLoginOrTheFolderIsRefused)
{
    for (const QByteArray& refused : { "USER user\r\n"_ba, "PASS word\r\n"_ba, "CWD dir\r\n"_ba }) {
        ControlServer server(acceptingUpTo(refused, "530 not you\r\n"));
        FTPManager manager;

        EXPECT_FALSE(manager.deleteFileNamed(u"a.txt"_s, carefulRecordFor(server).get()));

        server.close();
        EXPECT_FALSE(server.received().value(0).contains("DELE")) << refused.toStdString();
        EXPECT_TRUE(server.received().value(0).endsWith("QUIT\r\n")) << refused.toStdString();
        const FMFailure failure = manager.lastFailure();
        EXPECT_EQ(failure.kind,
                  refused.startsWith("CWD") ? FMFailure::Kind::FolderRefused : FMFailure::Kind::LoginRefused);
        EXPECT_EQ(failure.code, 530);
        EXPECT_EQ(failure.words, u"530 not you"_s);
        EXPECT_FALSE(manager.isUndecided());
    }
}

TEST(CarefulConversationTest, ARefusalOfTheCommandIsToldAsSuch)
{
    ControlServer server(acceptingUpTo("DELE a.txt\r\n", "550 no such file\r\n"));
    FTPManager manager;

    EXPECT_FALSE(manager.deleteFileNamed(u"a.txt"_s, carefulRecordFor(server).get()));

    EXPECT_EQ(manager.lastFailure().kind, FMFailure::Kind::Refused);
    EXPECT_EQ(manager.lastFailure().words, u"550 no such file"_s);
    server.close();
    EXPECT_EQ(server.received(), QList<QByteArray>{ wholeConversation });
}

TEST(CarefulConversationTest, AConnectionThatIsLostBehindTheCommandLeavesItUndecided)
{
    const ControlServer server([](ControlPeer& peer) {
        peer.receiveUntil("CWD dir\r\n");
        peer.send("220 hello\r\n331 go on\r\n230 in\r\n250 there\r\n");
        peer.receiveUntil("DELE a.txt\r\n");
    });
    FTPManager manager;

    EXPECT_FALSE(manager.deleteFileNamed(u"a.txt"_s, carefulRecordFor(server).get()));

    EXPECT_TRUE(manager.isUndecided());
    EXPECT_EQ(manager.lastFailure().kind, FMFailure::Kind::Lost);
}

TEST(CarefulConversationTest, WhatWouldFailTheAnswersFailsThemBeforeTheCommand)
{
    ControlServer server([](ControlPeer& peer) {
        peer.receiveUntil("CWD dir\r\n");
        peer.send("220-hello\r\n5 users are here\r\n220 there\r\n331 go on\r\n230 in\r\n250 there\r\n");
        peer.receiveUntil("QUIT\r\n");
    });
    FTPManager manager;

    EXPECT_FALSE(manager.deleteFileNamed(u"a.txt"_s, carefulRecordFor(server).get()));

    server.close();
    EXPECT_FALSE(server.received().value(0).contains("DELE"));
    EXPECT_FALSE(manager.isUndecided());
}

TEST(CarefulConversationTest, APasswordThatIsRepeatedIsNotTold)
{
    const ControlServer server(acceptingUpTo("DELE a.txt\r\n", "550 a word for word\r\n"));
    FTPManager manager;

    EXPECT_FALSE(manager.deleteFileNamed(u"a.txt"_s, carefulRecordFor(server).get()));

    EXPECT_EQ(manager.lastFailure().words, u"550 a **** for ****"_s);
}

TEST(CarefulConversationTest, APasswordThatIsThoughtAboutIsWaitedFor)
{
    ControlServer server([](ControlPeer& peer) {
        peer.receiveUntil("PASS word\r\n");
        peer.send("220 hello\r\n331 go on\r\n");
        EXPECT_FALSE(peer.received().contains("QUIT"));
        peer.send("530 wrong\r\n");
        peer.receiveUntil("QUIT\r\n");
        peer.send("221 bye\r\n");
    });

    EXPECT_FALSE(FTPManager().checkLogin(carefulRecordFor(server).get()));
}

TEST(CarefulConversationTest, ALoginThatIsNotAnsweredIsUndecidedAndOneThatIsRefusedIsNot)
{
    for (const auto& [answers, isUndecided] :
         { std::pair{ ""_ba, true }, std::pair{ "220 hello\r\n331 go on\r\n"_ba, true },
           std::pair{ "421 too many\r\n"_ba, false }, std::pair{ "220 hello\r\n331 go on\r\n530 no\r\n"_ba, false },
           std::pair{ "220 hello\r\n331 go on\r\n332 account?\r\n"_ba, false } }) {
        SCOPED_TRACE(answers.constData());
        const ControlServer server([answers = answers](ControlPeer& peer) {
            peer.receiveUntil("PASS word\r\n");
            peer.send(answers);
        });
        FTPManager manager;

        EXPECT_FALSE(manager.checkLogin(carefulRecordFor(server).get()));

        EXPECT_EQ(manager.isUndecided(), isUndecided);
    }
}

TEST(CarefulConversationTest, ACommandThatIsAnsweredWithWhatIsNoAnswerIsUndecided)
{
    const ControlServer server(acceptingUpTo("DELE a.txt\r\n", "350 and then?\r\n"));
    FTPManager manager;

    EXPECT_FALSE(manager.deleteFileNamed(u"a.txt"_s, carefulRecordFor(server).get()));

    EXPECT_TRUE(manager.isUndecided());
}

TEST(CarefulConversationTest, AnItemIsDeletedAsWhatItIsSaidToBe)
{
    const auto asFile = [](FTPManager& manager, const FMServer* server) {
        return manager.deleteItemNamed("Makefile", FTPManager::ItemKind::File, server);
    };
    const auto asFolder = [](FTPManager& manager, const FMServer* server) {
        return manager.deleteItemNamed("v1.2", FTPManager::ItemKind::Folder, server);
    };

    EXPECT_EQ(sentBy(asFile), "USER user\r\nPASS word\r\nDELE Makefile\r\nQUIT\r\n"_ba);
    EXPECT_EQ(sentBy(asFolder), "USER user\r\nPASS word\r\nRMD v1.2\r\nQUIT\r\n"_ba);
}

TEST(CarefulConversationTest, AServerThatSaysNothingEndsEveryOperation)
{
    FTPTimeouts timeouts;
    timeouts.careful = 100ms;
    for (const auto& operation : std::vector<std::function<bool(FTPManager&, const FMServer*)>>{
             [](FTPManager&manager, const FMServer*server) { return manager.deleteFileNamed(u"a.txt"_s, server); },
             [](FTPManager&manager, const FMServer*server) { return manager.createNewFolder(u"a"_s, server); },
             [](FTPManager&manager, const FMServer*server) { return manager.checkLogin(server); } }) {
        std::promise<void> hasEnded;
        const ControlServer server([&hasEnded](ControlPeer& /*peer*/) { hasEnded.get_future().wait(); });
        const auto record = carefulRecordFor(server);
        record->setTimeouts(timeouts);
        FTPManager manager;
        const auto start = std::chrono::steady_clock::now();

        EXPECT_FALSE(operation(manager, record.get()));

        EXPECT_LT(std::chrono::steady_clock::now() - start, timeouts.reply / 2);
        hasEnded.set_value();
    }
}

TEST(CarefulConversationTest, WhatIsSaidBesideAnAcceptedCommandDoesNotUndoIt)
{
    for (const QByteArray& answers : { "250-gone\r\n500 files are left\r\n250 gone\r\n221 bye\r\n"_ba,
                                       "250 gone\r\n500 what?\r\n"_ba, "250 gone\r\n421 bye\r\n"_ba }) {
        const ControlServer server([&answers](ControlPeer& peer) {
            peer.receiveUntil("CWD dir\r\n");
            peer.send("220 hello\r\n331 go on\r\n230 in\r\n250 there\r\n");
            peer.receiveUntil("DELE a.txt\r\n");
            peer.send(answers);
        });
        FTPManager manager;

        EXPECT_FALSE(manager.deleteFileNamed(u"a.txt"_s, carefulRecordFor(server).get())); // As without care.

        EXPECT_TRUE(manager.isCommandAccepted());
        EXPECT_FALSE(manager.isUndecided());

        EXPECT_FALSE(manager.checkLogin(nullptr)); // Which does not begin.
        EXPECT_FALSE(manager.isCommandAccepted());
    }
}

TEST(CarefulConversationTest, AServerThatFallsSilentEndsItAndIsUndecidedOnlyBehindTheCommand)
{
    for (const bool hasAccepted : { false, true }) {
        std::promise<void> over;
        const std::shared_future<void> end(over.get_future());
        ControlServer server([hasAccepted, end](ControlPeer& peer) {
            peer.send(hasAccepted ? "220 hello\r\n230 in\r\n" : "220 hello\r\n");
            end.wait();
        });
        ControlSocket socket;
        ASSERT_EQ(socket.connect(QHostAddress::LocalHost, server.port()), ControlSocket::Outcome::Connected);
        socket.setSilenceLimit(50ms);
        CarefulConversation conversation(socket);

        EXPECT_FALSE(conversation.hold({ "USER user\r\n" }, "DELE a.txt\r\n", false));

        EXPECT_TRUE(socket.hasTimedOut());
        EXPECT_EQ(conversation.isUndecided(), hasAccepted);
        over.set_value();
    }
}

} // namespace
