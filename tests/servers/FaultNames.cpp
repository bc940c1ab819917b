#include "FaultMatrix.h"

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
