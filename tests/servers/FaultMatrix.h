#pragma once

#include "ScriptedServer.h"

#include <QList>
#include <QString>

#include <chrono>
#include <optional>
#include <string>

/// What is asked of a server.
enum class Operation {
    Upload,
    Download,
    Listing,
    FolderCreation,
    ManualFolderCreation, ///< By the window's manual controls.
    Deletion, ///< All of it sent at once, as the library does by itself.
    CarefulDeletion, ///< The window's, and the library's when it is asked to be careful.
    LoginTest, ///< The library's, all of it sent at once.
    CarefulLoginTest, ///< The library's when it is asked to be careful.
    ConnectionTest, ///< The one in the window's preferences.
};

/// Where in the conversation something goes wrong.
enum class Stage {
    Connect,
    Greeting,
    Login,
    Folder,
    DataConnection,
    Command, ///< The reply to what begins the transfer, or does what is asked.
    Transfer, ///< Nine bytes of data have moved.
    Completion, ///< All data has been sent; the final reply is due.
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
        FolderRefused, ///< The same, by a server that has accepted the login.
        Lost, ///< For a reason that the server has not given.
        Silence, ///< The server was waited for in vain.
        Unreachable, ///< There is no connection.
        Believed, ///< The server fell silent without a refusal, which counts as done.
        BelievedAfterReset, ///< The same, by a reset of the connection.
        Undecided, ///< What was asked for was sent, and no word came of what has become of it.
        Contradicted, ///< The command was accepted, and what was said afterwards counts as a failure all the same.
    };
    Kind kind;
    int code = 0; ///< Of the refusal, or else of the server's latest reply; 0 for none.
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
    /// Whether the thing itself is done then, whatever is told of it; nothing where that is left to chance, or where
    /// there is no such thing.
    std::optional<bool> isDone = {};
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

/// Whether all commands of the operation are sent at once.
constexpr bool isPipelined(Operation operation)
{
    return operation == Operation::Deletion || operation == Operation::LoginTest;
}

/// Whether the operation is a conversation on a control connection alone.
constexpr bool isConversation(Operation operation)
{
    return isPipelined(operation) || operation == Operation::CarefulDeletion
        || operation == Operation::CarefulLoginTest;
}
