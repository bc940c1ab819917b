#include "FaultMatrix.h"

using namespace std::chrono_literals;

namespace {

using enum Operation;

/// The place in a conversation that a fault is put into.
struct Spot {
    QByteArray event;
    QByteArrayList before; ///< Steps that go well.
    QByteArrayList good; ///< What a good server does from there.
    QByteArrayList refusal;
    int lastCode = 0; ///< Of the reply before it, in a test of a connection.
};

bool movesData(Operation operation)
{
    return operation == Upload || operation == Download || operation == Listing;
}

/// The command that does what is asked, or the last that a test of a connection needs; null when there is none.
QByteArray verbOf(Operation operation)
{
    switch (operation) {
    case Upload:
        return "STOR";
    case Download:
        return "RETR";
    case Listing:
        return "LIST";
    case FolderCreation:
    case ManualFolderCreation:
        return "MKD";
    case Deletion:
    case CarefulDeletion:
        return "DELE";
    case ConnectionTest:
        return "TYPE";
    case LoginTest:
    case CarefulLoginTest:
        break;
    }
    return {};
}

std::optional<Spot> spotOf(Stage stage, Operation operation)
{
    const bool isUpload = operation == Upload;
    const QByteArray verb = verbOf(operation);
    switch (stage) {
    case Stage::Greeting:
        return Spot{ "connect", {}, { "default" }, { "421 Too busy", "close" } };
    case Stage::Login:
        return Spot{ "PASS", {}, { "default" }, { "530 No" }, 331 };
    case Stage::Folder:
        if (operation == LoginTest || operation == CarefulLoginTest) {
            return std::nullopt;
        }
        return Spot{ "CWD", {}, { "default" }, { "550 No" }, 257 };
    case Stage::Command:
        if (verb.isEmpty()) {
            return std::nullopt;
        }
        return Spot{ verb, {}, { "default" }, { "553 No" }, 250 };
    case Stage::Transfer:
        if (!movesData(operation)) {
            return std::nullopt;
        }
        if (isUpload) {
            return Spot{ verb, { "150 Go", "read 9" }, { "read", "226 Done" }, { "552 Full" } };
        }
        return Spot{ verb, { "150 Go", "write 9" }, { "write", "data-close", "226 Done" }, { "451 No" } };
    case Stage::Completion:
        if (!movesData(operation)) {
            return std::nullopt;
        }
        if (isUpload) {
            return Spot{ verb, { "150 Go", "read" }, { "226 Done" }, { "552 Full" } };
        }
        return Spot{ verb, { "150 Go", "write", "data-close" }, { "226 Done" }, { "451 No" } };
    case Stage::Quit:
        return Spot{ "QUIT", {}, { "default" }, { "500 What?" } };
    case Stage::Connect:
    case Stage::DataConnection:
        break;
    }
    return std::nullopt;
}

FaultPlan planFor(const QList<ScriptedRule>& rules, Ending ending)
{
    return { .rules = rules, .ending = ending };
}

FaultPlan silentPlan(const QList<ScriptedRule>& rules)
{
    return { .rules = rules, .ending = { Ending::Kind::Silence }, .needsShortTimeouts = true };
}

std::optional<FaultPlan> planOfConnect(Manner manner, Operation operation)
{
    if (manner == Manner::Refused) {
        return FaultPlan{ .port = FaultPlan::Port::Closed, .ending = { Ending::Kind::Unreachable } };
    }
    if (manner == Manner::Stalled) {
        // A conversation waits until the system gives up.
        const Ending ending{ isConversation(operation) ? Ending::Kind::Unreachable : Ending::Kind::Silence };
        return FaultPlan{ .port = FaultPlan::Port::Full, .ending = ending, .needsShortTimeouts = true };
    }
    return std::nullopt;
}

std::optional<FaultPlan> planOfDataConnection(Manner manner, Operation operation)
{
    if (!movesData(operation)) {
        return std::nullopt;
    }
    const QByteArray verb = verbOf(operation);
    constexpr Ending lost{ Ending::Kind::Lost };
    constexpr Ending works{ Ending::Kind::Works };
    switch (manner) {
    case Manner::Refused:
        // It is tried again by PASV when the server has had its time to give a reason. It must have that in the end.
        return FaultPlan{ .rules = { { .on = "EPSV", .steps = { "229 Go (|||{closed}|)" } },
                                     { .on = "PASV", .steps = { "227 Go (127,0,0,1,0,1)" } } },
                          .ending = { Ending::Kind::Refused, 425 } };
    case Manner::Dropped:
        return planFor({ { .on = verb, .steps = { "150 Go", "accept", "data-close", "close" } } }, lost);
    case Manner::Reset:
        return planFor({ { .on = verb, .steps = { "150 Go", "accept", "data-reset", "426 Broken" } } },
                       { Ending::Kind::Refused, 426 });
    case Manner::Stalled:
        return silentPlan(
            { { .on = "EPSV", .steps = { "229 Go (|||{full}|)" } }, { .on = "PASV", .steps = { "silence" } } });
    case Manner::Slow:
        return planFor({ { .on = "EPSV", .steps = { "wait 50", "default" } } }, works);
    case Manner::Garbage:
        return planFor({ { .on = "EPSV", .steps = { "229 (what|?" } }, { .on = "PASV", .steps = { "227 a,b,c" } } },
                       lost);
    case Manner::Oversized:
        return planFor({ { .on = "EPSV", .steps = { "229 Go (|||99999999999999999999|)" } },
                         { .on = "PASV", .steps = { "227 Go (127,0,0,1,999,99999999999)" } } },
                       lost);
    case Manner::SingleBytes:
        return planFor({ { .on = "EPSV", .steps = { "slowly 1", "default", "slowly 0" } } }, works);
    }
    return std::nullopt;
}

/// What follows the steps that go well.
QByteArrayList stepsOf(Manner manner, const Spot& spot)
{
    switch (manner) {
    case Manner::Refused:
        return spot.refusal;
    case Manner::Dropped:
        return { "close" };
    case Manner::Reset:
        return { "reset" };
    case Manner::Stalled:
        return { "silence" };
    case Manner::Slow:
        return QByteArrayList{ "wait 50" } + spot.good;
    case Manner::Garbage:
        return QByteArrayList{ "raw \x16\x03\x01 nonsense \xff\xfe\r\n" } + spot.good;
    case Manner::Oversized:
        return { "flood 3000000", "close" };
    case Manner::SingleBytes:
        return QByteArrayList{ "slowly 1" } + spot.good + QByteArrayList{ "slowly 0" };
    }
    return {};
}

/// Whether a server that is not heard any more at @p stage may have done what it was asked for.
bool mayBeDoneAt(Stage stage, Operation operation)
{
    switch (operation) {
    case Upload:
        return stage == Stage::Completion;
    case FolderCreation:
    case ManualFolderCreation:
    case CarefulDeletion:
        return stage == Stage::Command;
    case CarefulLoginTest: // The login is sent before the greeting is read.
        return stage == Stage::Greeting || stage == Stage::Login;
    case Download:
    case Listing:
    case Deletion:
    case LoginTest:
    case ConnectionTest:
        break;
    }
    return false;
}

/// Of an operation that reads each reply as it comes.
Ending endingWithoutPipelining(Fault fault, Operation operation, const Spot& spot)
{
    if (fault.stage == Stage::Quit) {
        // Nobody waits for the reply to QUIT; but a conversation's counts when it comes.
        const bool counts = isConversation(operation) && fault.manner == Manner::Refused;
        return { counts ? Ending::Kind::Contradicted : Ending::Kind::Works };
    }
    const bool isHeard
        = fault.manner == Manner::Refused || fault.manner == Manner::Slow || fault.manner == Manner::SingleBytes;
    if (mayBeDoneAt(fault.stage, operation) && !isHeard) {
        return { Ending::Kind::Undecided };
    }
    switch (fault.manner) {
    case Manner::Refused: {
        const bool isLoggedIn = fault.stage != Stage::Greeting && fault.stage != Stage::Login;
        return { operation == ConnectionTest && isLoggedIn ? Ending::Kind::FolderRefused : Ending::Kind::Refused,
                 spot.refusal.first().left(3).toInt() };
    }
    case Manner::Stalled:
        return { Ending::Kind::Silence, spot.lastCode };
    case Manner::Slow:
    case Manner::SingleBytes:
        return { Ending::Kind::Works };
    case Manner::Dropped:
    case Manner::Reset:
    case Manner::Garbage:
    case Manner::Oversized:
        break;
    }
    return { Ending::Kind::Lost, spot.lastCode };
}

/// Of a conversation whose replies are judged when the server has closed the connection: any piece of them that begins
/// with 4 or 5 is a refusal, everything else passes.
FaultPlan planOfConversation(Manner manner, const Spot& spot)
{
    FaultPlan plan;
    QByteArrayList steps = stepsOf(manner, spot);
    switch (manner) {
    case Manner::Refused:
        plan.ending = { Ending::Kind::Refused };
        break;
    case Manner::Dropped:
        plan.ending = { Ending::Kind::Believed };
        break;
    case Manner::Reset:
        plan.ending = { Ending::Kind::BelievedAfterReset };
        break;
    case Manner::Stalled:
        // It waits until the server closes, however long that takes.
        plan.silence = 100ms;
        steps = { "wait 120", "close" };
        plan.ending = { Ending::Kind::Believed };
        break;
    case Manner::Oversized:
        plan.ending = { Ending::Kind::Undecided };
        break;
    case Manner::SingleBytes:
        if (spot.event == "CWD" || spot.event == "DELE") {
            plan.ending = { Ending::Kind::Refused }; // The reply is 250: its second piece begins with 5.
        }
        break;
    case Manner::Slow:
    case Manner::Garbage:
        break;
    }
    if (spot.event == "QUIT") {
        steps.append("close"); // It is waited for.
    }
    if (steps.contains("close") || steps.contains("reset")) {
        steps.prepend("until QUIT"); // A command that cannot be sent is another matter.
    }
    plan.rules = { { .on = spot.event, .steps = spot.before + steps } };
    return plan;
}

/// Whether a fault that is told of leaves the thing done all the same.
std::optional<bool> isDoneInSpiteOf(Fault fault, Operation operation)
{
    const bool serverGoesOn
        = fault.manner == Manner::Slow || fault.manner == Manner::Garbage || fault.manner == Manner::SingleBytes;
    switch (operation) {
    case Deletion: // All of it was sent before.
        return serverGoesOn || fault.stage == Stage::Quit;
    case CarefulDeletion:
        return (serverGoesOn && fault.stage == Stage::Command) || fault.stage == Stage::Quit;
    case FolderCreation:
    case ManualFolderCreation:
        return serverGoesOn && fault.stage == Stage::Command;
    case Upload:
        if (serverGoesOn && (fault.stage == Stage::Command || fault.stage == Stage::Transfer)) {
            return std::nullopt; // How much is sent before it is given up is left to chance.
        }
        return fault.stage == Stage::Completion;
    case Download:
        if (serverGoesOn || fault.stage == Stage::Completion) {
            return std::nullopt; // So is how much of what was sent is read.
        }
        return false;
    case Listing:
    case LoginTest:
    case CarefulLoginTest:
    case ConnectionTest:
        break;
    }
    return std::nullopt;
}

std::optional<FaultPlan> planOfAnyStage(Fault fault, Operation operation)
{
    if (fault.stage == Stage::Connect) {
        return planOfConnect(fault.manner, operation);
    }
    if (fault.stage == Stage::DataConnection) {
        return planOfDataConnection(fault.manner, operation);
    }
    const std::optional<Spot> spot = spotOf(fault.stage, operation);
    if (!spot) {
        return std::nullopt;
    }
    if (isPipelined(operation)) {
        return planOfConversation(fault.manner, *spot);
    }
    QByteArrayList steps = spot->before + stepsOf(fault.manner, *spot);
    if (operation == CarefulLoginTest && fault.stage == Stage::Greeting) {
        steps.prepend("until PASS"); // A login that cannot be sent is another matter.
    }
    return FaultPlan{ .rules = { { .on = spot->event, .steps = steps } },
                      .ending = endingWithoutPipelining(fault, operation, *spot),
                      .needsShortTimeouts = fault.manner == Manner::Stalled };
}

} // namespace

std::optional<FaultPlan> planOf(Fault fault, Operation operation)
{
    std::optional<FaultPlan> plan = planOfAnyStage(fault, operation);
    if (plan) {
        plan->isDone = plan->ending.kind == Ending::Kind::Works ? true : isDoneInSpiteOf(fault, operation);
    }
    return plan;
}
