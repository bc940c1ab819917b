#include "ItemOperations.h"

#include "ControlServer.h"
#include "FMServer.h"
#include "Printers.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

/// What a server is sent when @p name, of which the listing says @p kind, is to be deleted and it has @p reply for the
/// first command that would, and takes a second one; one line of commands for each conversation.
QList<QByteArray> sentFor(const QByteArray& name, ListedKind kind, const QByteArray& reply, ItemOutcome outcome)
{
    int conversations = 0;
    ControlServer server([&conversations, reply, name](ControlPeer& peer) {
        peer.receiveUntil("PASS word\r\n");
        peer.send("220 hello\r\n230 in\r\n230 in\r\n");
        peer.receiveUntil(name + "\r\n");
        peer.send(++conversations == 1 ? reply : "250 done\r\n"_ba);
        peer.receiveUntil("QUIT\r\n");
        peer.send("221 bye\r\n");
    });
    const auto record = FMServer::serverWithDestination(u"ftp://127.0.0.1"_s, u"user"_s, u"word"_s);
    record->setPort(server.port());
    record->setCareful(true);

    EXPECT_EQ(libraryItemOperations().deleteFileNamed(name, kind, *record).outcome, outcome);

    server.close();
    QList<QByteArray> commands;
    for (const QByteArray& conversation : server.received()) {
        commands.append(conversation.split('\n').value(2).trimmed());
    }
    return commands;
}

TEST(ItemOperationsTest, TheNameDecidesFirstAndAfterTheServersRefusalWhatIsListed)
{
    using enum ListedKind;
    EXPECT_EQ(sentFor("Makefile", File, "250 gone\r\n", ItemOutcome::Done), QList<QByteArray>{ "RMD Makefile" });
    EXPECT_EQ(sentFor("Makefile", File, "550 not a folder\r\n", ItemOutcome::Done),
              (QList<QByteArray>{ "RMD Makefile", "DELE Makefile" }));
    EXPECT_EQ(sentFor("v1.2", Folder, "550 not a file\r\n", ItemOutcome::Done),
              (QList<QByteArray>{ "DELE v1.2", "RMD v1.2" }));
}

TEST(ItemOperationsTest, WhatIsNotListedOtherwiseOrNotRefusedForGoodIsTriedOnce)
{
    using enum ListedKind;
    EXPECT_EQ(sentFor("Makefile", Unknown, "550 no\r\n", ItemOutcome::Refused), QList<QByteArray>{ "RMD Makefile" });
    EXPECT_EQ(sentFor("full", Folder, "550 not empty\r\n", ItemOutcome::Refused), QList<QByteArray>{ "RMD full" });
    EXPECT_EQ(sentFor("a.txt", File, "550 no\r\n", ItemOutcome::Refused), QList<QByteArray>{ "DELE a.txt" });
    EXPECT_EQ(sentFor("Makefile", File, "450 busy\r\n", ItemOutcome::Refused), QList<QByteArray>{ "RMD Makefile" });
}

TEST(ItemOperationsTest, AFolderIsNotKnownToBeMadeOrNotWhenTheAnswerToItsCommandIsLost)
{
    for (const auto& [reply, outcome] :
         { std::pair{ ""_ba, ItemOutcome::Unanswered }, std::pair{ "550 no\r\n"_ba, ItemOutcome::Refused },
           std::pair{ "257 made\r\n"_ba, ItemOutcome::Done } }) {
        const ControlServer server([reply = reply](ControlPeer& peer) {
            peer.send("220 hello\r\n");
            peer.receiveUntil("TYPE I\r\n");
            peer.send("331 go on\r\n230 in\r\n257 \"/\"\r\n200 I\r\n");
            peer.receiveUntil("MKD new\r\n");
            peer.send(reply);
        });
        const auto record = FMServer::serverWithDestination(u"ftp://127.0.0.1"_s, u"user"_s, u"word"_s);
        record->setPort(server.port());
        record->setCareful(true);

        EXPECT_EQ(libraryItemOperations().createNewFolder(u"new"_s, *record).outcome, outcome);
    }
}

} // namespace
