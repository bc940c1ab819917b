#pragma once

#include "ScriptedServer.h"

#include <QList>
#include <QString>

#include <chrono>
#include <optional>
#include <string>

/// What is asked of a server.
enum class Operation { Upload, Download, Listing, FolderCreation, Deletion, LoginTest };

/// Where in the conversation something goes wrong.
enum class Stage {
    Connect,
    Greeting,
    Login,
    Folder,
    DataConnection,
    Command, ///< The reply to what begins the transfer, or does what is asked.
    Transfer, ///< Nine bytes of data have moved.
    Completion, ///< All data has moved; the last word is due.
    Quit,
};

/// How it goes wrong.
enum class Manner { Refused, Dropped, Reset, Stalled, Slow, Garbage, Oversized, SingleBytes };

struct Fault {
    Stage stage;
    Manner manner;
};

/// What an operation comes to.
struct Ending {
    enum class Kind {
        Works,
        Refused, ///< With the server's code.
        Lost, ///< For a reason that the server has not given.
        Believed, ///< The server fell silent without a refusal, which counts as done.
        Failed, ///< The library says no more than that.
    };
    Kind kind;
    int code = 0; ///< Of a refusal.
};

/// One cell of the matrix: how the server is made to fail, and what comes of it.
struct FaultPlan {
    enum class Port {
        Served,
        Closed, ///< Nobody listens.
        Full, ///< Nobody accepts, and the kernel's queue is full.
    };
    Port port = Port::Served;
    QList<ScriptedRule> rules = {};
    Ending ending = { Ending::Kind::Works };
    bool needsShortTimeouts = false; ///< It ends when a time limit of the streams does.
    std::chrono::milliseconds silence{ 0 }; ///< How long the operation waits at least.
};

/// The rows, in the order of a conversation.
QList<Fault> allFaults();
/// Nothing where there can be no such cell.
std::optional<FaultPlan> planOf(Fault fault, Operation operation);

/// As a person calls it.
const char* textOf(Stage stage);
const char* textOf(Manner manner);
/// As a part of a test's name.
std::string nameOf(Fault fault);

/// Whether the operation is a conversation on a control connection alone, all of whose commands are sent at once.
constexpr bool isConversation(Operation operation)
{
    return operation == Operation::Deletion || operation == Operation::LoginTest;
}
