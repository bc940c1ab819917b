#include "FaultMatrix.h"

using namespace std::chrono_literals;

namespace {

using enum Operation;

/// The place in a conversation that a fault is put into.
struct Spot {
    QByteArray event;
    QByteArrayList before; ///< Steps that go well.
    QByteArrayList good; ///< What a good server does from there.
    QByteArray refusal;
};

bool movesData(Operation operation)
{
    return operation == Upload || operation == Download || operation == Listing;
}

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
        return "MKD";
    case Deletion:
        return "DELE";
    case LoginTest:
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
        return Spot{ "connect", {}, { "default" }, "421 Too busy" };
    case Stage::Login:
        return Spot{ "PASS", {}, { "default" }, "530 No" };
    case Stage::Folder:
        if (operation == LoginTest) {
            return std::nullopt;
        }
        return Spot{ "CWD", {}, { "default" }, "550 No" };
    case Stage::Command:
        if (verb.isEmpty()) {
            return std::nullopt;
        }
        return Spot{ verb, {}, { "default" }, "553 No" };
    case Stage::Transfer:
        if (!movesData(operation)) {
            return std::nullopt;
        }
        if (isUpload) {
            return Spot{ verb, { "150 Go", "read 9" }, { "read", "226 Done" }, "552 Full" };
        }
        return Spot{ verb, { "150 Go", "write 9" }, { "write", "data-close", "226 Done" }, "451 No" };
    case Stage::Completion:
        if (!movesData(operation)) {
            return std::nullopt;
        }
        if (isUpload) {
            return Spot{ verb, { "150 Go", "read" }, { "226 Done" }, "552 Full" };
        }
        return Spot{ verb, { "150 Go", "write", "data-close" }, { "226 Done" }, "451 No" };
    case Stage::Quit:
        return Spot{ "QUIT", {}, { "default" }, "500 What?" };
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
    return { .rules = rules, .ending = { Ending::Kind::Lost }, .needsShortTimeouts = true };
}

std::optional<FaultPlan> planOfConnect(Manner manner, Operation operation)
{
    const Ending ending{ isConversation(operation) ? Ending::Kind::Failed : Ending::Kind::Lost };
    if (manner == Manner::Refused) {
        return FaultPlan{ .port = FaultPlan::Port::Closed, .ending = ending };
    }
    if (manner == Manner::Stalled) {
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
        // It is tried again by PASV when the server has had its time to give a reason.
        return FaultPlan{ .rules = { { .on = "EPSV", .steps = { "229 Go (|||{closed}|)" } },
                                     { .on = "PASV", .steps = { "227 Go (127,0,0,1,0,1)" } } },
                          .ending = { Ending::Kind::Refused, 425 },
                          .needsShortTimeouts = true };
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
        return { spot.refusal };
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

/// Of an operation on streams, which reads each reply as it comes.
Ending endingOnStreams(Manner manner, const Spot& spot)
{
    switch (manner) {
    case Manner::Refused:
        return { Ending::Kind::Refused, spot.refusal.left(3).toInt() };
    case Manner::Slow:
    case Manner::SingleBytes:
        return { Ending::Kind::Works };
    case Manner::Dropped:
    case Manner::Reset:
    case Manner::Stalled:
    case Manner::Garbage:
    case Manner::Oversized:
        break;
    }
    return { Ending::Kind::Lost };
}

/// Of a conversation whose replies are judged when the server has closed the connection: any line that begins with 4
/// or 5 is a refusal, everything else passes.
FaultPlan planOfConversation(Manner manner, const Spot& spot)
{
    FaultPlan plan;
    QByteArrayList steps = stepsOf(manner, spot);
    switch (manner) {
    case Manner::Oversized:
        steps.prepend("idle 60"); // As below.
        [[fallthrough]];
    case Manner::Refused:
        if (spot.event == "QUIT") {
            steps.append("close"); // It is waited for.
        }
        plan.ending = { Ending::Kind::Failed };
        break;
    case Manner::Dropped:
    case Manner::Reset:
        // When all that was sent ahead has come: a command that cannot be sent is another matter.
        steps.prepend("idle 60");
        plan.ending = { Ending::Kind::Believed };
        break;
    case Manner::Stalled:
        // It waits until the server closes, however long that takes.
        plan.silence = 100ms;
        steps = { "wait 120", "close" };
        plan.ending = { Ending::Kind::Believed };
        break;
    case Manner::SingleBytes:
        // A piece that begins with a 4 or 5 would be a refusal.
        if (spot.event == "CWD" || spot.event == "DELE") {
            steps = { "slowly 1", "220 Done", "slowly 0" };
        }
        plan.ending = { Ending::Kind::Works };
        break;
    case Manner::Slow:
    case Manner::Garbage:
        plan.ending = { Ending::Kind::Works };
        break;
    }
    plan.rules = { { .on = spot.event, .steps = spot.before + steps } };
    if (manner == Manner::SingleBytes && spot.event == "CWD") {
        plan.rules.append(ScriptedRule{ .on = "DELE", .steps = { "220 Done" } }); // It is in the wrong folder.
    }
    return plan;
}

} // namespace

QList<Fault> allFaults()
{
    QList<Fault> faults;
    for (const Stage stage : { Stage::Connect, Stage::Greeting, Stage::Login, Stage::Folder, Stage::DataConnection,
                               Stage::Command, Stage::Transfer, Stage::Completion, Stage::Quit }) {
        for (const Manner manner : { Manner::Refused, Manner::Dropped, Manner::Reset, Manner::Stalled, Manner::Slow,
                                     Manner::Garbage, Manner::Oversized, Manner::SingleBytes }) {
            faults.append({ stage, manner });
        }
    }
    return faults;
}

std::optional<FaultPlan> planOf(Fault fault, Operation operation)
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
    if (isConversation(operation)) {
        return planOfConversation(fault.manner, *spot);
    }
    FaultPlan plan{ .rules = { { .on = spot->event, .steps = spot->before + stepsOf(fault.manner, *spot) } },
                    .ending = endingOnStreams(fault.manner, *spot),
                    .needsShortTimeouts = fault.manner == Manner::Stalled };
    if (fault.stage == Stage::Quit) {
        plan.ending = { Ending::Kind::Works }; // Nobody waits for an answer to a farewell.
    }
    return plan;
}

const char* textOf(Stage stage)
{
    switch (stage) {
    case Stage::Connect:
        return "connect";
    case Stage::Greeting:
        return "greeting";
    case Stage::Login:
        return "login";
    case Stage::Folder:
        return "folder";
    case Stage::DataConnection:
        return "data connection";
    case Stage::Command:
        return "command";
    case Stage::Transfer:
        return "transfer";
    case Stage::Completion:
        return "completion";
    case Stage::Quit:
        return "quit";
    }
    return "";
}

const char* textOf(Manner manner)
{
    switch (manner) {
    case Manner::Refused:
        return "refused";
    case Manner::Dropped:
        return "dropped";
    case Manner::Reset:
        return "reset";
    case Manner::Stalled:
        return "stalled";
    case Manner::Slow:
        return "slow";
    case Manner::Garbage:
        return "garbage";
    case Manner::Oversized:
        return "oversized";
    case Manner::SingleBytes:
        return "single bytes";
    }
    return "";
}

std::string nameOf(Fault fault)
{
    std::string name;
    bool startsWord = true;
    for (const char c : std::string(textOf(fault.stage)) + ' ' + textOf(fault.manner)) {
        if (c != ' ') {
            name += startsWord ? static_cast<char>(c - 'a' + 'A') : c;
        }
        startsWord = c == ' ';
    }
    return name;
}
