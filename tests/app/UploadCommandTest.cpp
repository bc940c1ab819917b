#include "UploadCommand.h"

#include "ApplicationService.h"
#include "BusName.h"
#include "CommandLine.h"
#include "EnvironmentValue.h"
#include "HiddenTurn.h"
#include "IconSettings.h"
#include "PrivateBus.h"
#include "ProgramName.h"
#include "UploadsInterface.h"

#include <QDBusConnectionInterface>
#include <QDBusVirtualObject>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString runningName = u"Scans"_s;
constexpr int toUploadItself = 42; ///< What a process ends with that is to be the program.

/// The program that runs: it takes all files, and does what a test wants when they are to go up.
class Program final : public QDBusVirtualObject {
public:
    using Start = std::function<void(Program& program, const QDBusMessage& call)>;

    Program(const PrivateBus& bus, Start start)
        : m_bus(bus.connection())
        , m_commandsBus(bus.serviceConnection())
        , m_start(std::move(start))
    {
        m_bus.registerVirtualObject(ApplicationService::objectPath(busName(runningName)), this);
    }
    void begin() { m_bus.registerService(busName(runningName)); }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& /*connection*/) override
    {
        if (message.member() == u"Start"_s) {
            m_start(*this, message);
        } else {
            send(message.createReply());
        }
        return true;
    }
    QString introspect(const QString& /*path*/) const override { return {}; }

    void send(const QDBusMessage& message) { m_bus.send(message); }
    /// Tells the caller that both files are over.
    void tellTheEnd(const QDBusMessage& call)
    {
        tellEnded(call, { "/a", "/b" });
        tellOver(call, true);
    }
    void tellEnded(const QDBusMessage& call, const QByteArrayList& paths)
    {
        signal(call, u"Ended"_s, { QVariant::fromValue(paths), QStringList(paths.size(), u"Confirmed"_s) });
    }
    void tellOver(const QDBusMessage& call, bool all) { signal(call, u"Over"_s, { all, all }); }
    void killBus() const
    {
        ::kill(static_cast<pid_t>(m_bus.interface()->servicePid(u"org.freedesktop.DBus"_s).value()), SIGKILL);
    }
    void end() { m_bus.unregisterService(busName(runningName)); }
    /// Returns when all that was sent waits at the command's side, of which nothing has been looked at.
    void pass() const { m_commandsBus.interface()->isServiceRegistered(m_bus.baseService()); }

private:
    void signal(const QDBusMessage& call, const QString& name, const QVariantList& arguments)
    {
        QDBusMessage message
            = QDBusMessage::createTargetedSignal(call.service(), call.path(), UploadsInterface::name, name);
        message.setArguments(arguments);
        send(message);
    }

    QDBusConnection m_bus;
    QDBusConnection m_commandsBus;
    Start m_start;
};

/// Ends as a command does whose two files are waited for, with the program on its bus, which runs from the beginning or
/// as soon as @p begin lets it. All that is printed is in the standard error.
[[noreturn]] void waitForFiles(
    Program::Start start, bool isHidden = false,
    const std::function<void(Program& program)>& begin = [](Program& program) { program.begin(); })
{
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
    setProgramFileName(runningName);
    UploadsInterface::registerTypes();
    const PrivateBus bus;
    Program program(bus, std::move(start));
    begin(program);
    CommandLine commandLine;
    commandLine.files = QStringList{ u"/a"_s, u"/b"_s };
    commandLine.isWaitedFor = true;
    commandLine.isHidden = isHidden;
    HiddenTurn turn;
    turn.take(runningName); // As a second look for the program that runs has it.
    UploadCommand::run(commandLine, turn, bus.serviceConnection());
    std::_Exit(toUploadItself);
}

/// The same without a window, while somebody else has the @p turn. The program begins when it is known that nobody
/// runs.
[[noreturn]] void waitForTurn(HiddenTurn& turn, Program::Start start,
                              std::function<void(Program& program)> begin = &Program::begin)
{
    turn.take(runningName);
    waitForFiles(std::move(start), true, [&begin](Program& program) {
        QTimer::singleShot(0, &program, [&] { QTimer::singleShot(0, &program, [&] { begin(program); }); });
    });
}

class UploadCommandTest : public ::testing::Test {
    QTemporaryDir m_folder;
    EnvironmentValue m_place{ "TMPDIR", QFile::encodeName(m_folder.path()) }; ///< Of what such a process leaves.
};

TEST_F(UploadCommandTest, WhatHasArrivedStaysSoWhenTheProgramEndsBehindIt)
{
    const auto start = [](Program& program, const QDBusMessage& call) {
        program.send(call.createReply());
        program.tellTheEnd(call);
        program.end();
        program.pass();
    };

    EXPECT_EXIT(waitForFiles(start), testing::ExitedWithCode(0), "^/a\tConfirmed\n/b\tConfirmed\n$");
}

TEST_F(UploadCommandTest, WhileTheProgramUploadsItsFilesTheTurnIsAnybodys)
{
    const auto start = [](Program& program, const QDBusMessage& call) {
        program.send(call.createReply());
        if (HiddenTurn().take(runningName)) {
            program.tellTheEnd(call);
        } else {
            program.tellOver(call, false);
        }
    };

    EXPECT_EXIT(waitForFiles(start, true), testing::ExitedWithCode(0), "^/a\tConfirmed\n/b\tConfirmed\n$");
}

TEST_F(UploadCommandTest, WhatArrivesWithoutALineThatCouldBePrintedIsNoSuccess)
{
    const auto start = [](Program& program, const QDBusMessage& call) {
        ::dup2(::open("/dev/full", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
        program.send(call.createReply());
        program.tellTheEnd(call);
    };

    EXPECT_EXIT(waitForFiles(start), testing::ExitedWithCode(1), "^$");
}

TEST_F(UploadCommandTest, WhatAProgramThatEndsHasNotFoundYetIsNotConfirmed)
{
    const auto start = [](Program& program, const QDBusMessage& call) {
        program.send(call.createReply());
        program.tellEnded(call, { "/a" });
        program.tellOver(call, false);
    };

    EXPECT_EXIT(waitForFiles(start), testing::ExitedWithCode(1),
                "^/a\tConfirmed\n/b\tNot confirmed: Quillbox ended\n$");
}

TEST_F(UploadCommandTest, WhatIsRefusedIsNotTaken)
{
    const auto start = [](Program& program, const QDBusMessage& call) {
        program.send(call.createErrorReply(QDBusError::InvalidArgs, u"No"_s));
    };

    EXPECT_EXIT(waitForFiles(start), testing::ExitedWithCode(1),
                "^Quillbox: The window that is open refuses what it is asked.\n/a\tNot taken\n/b\tNot taken\n$");
}

TEST_F(UploadCommandTest, AProgramThatEndsBeforeItHasTakenTheFilesLeavesThemToTheNextOne)
{
    const EnvironmentValue display("DISPLAY", std::nullopt);
    const EnvironmentValue otherDisplay("WAYLAND_DISPLAY", std::nullopt);
    const auto end = [](Program& program, const QDBusMessage& /*call*/) { program.end(); };

    EXPECT_EXIT(waitForFiles(end), testing::ExitedWithCode(1),
                "^Quillbox: There is no display for the window. \"--hidden\" needs none.\n"
                "/a\tNot taken\n/b\tNot taken\n$");
    EXPECT_EXIT(waitForFiles(end, true), testing::ExitedWithCode(toUploadItself), "^$");
}

TEST_F(UploadCommandTest, WhatWasHandedOverWhileItWaitedForItsTurnIsNotUploadedTwice)
{
    HiddenTurn turn;
    const auto start = [&turn](Program& program, const QDBusMessage& call) {
        program.send(call.createReply());
        turn.giveUp();
        QTimer::singleShot(300ms, &program, [&program, call] { program.tellTheEnd(call); }); // A look later.
    };

    EXPECT_EXIT(waitForTurn(turn, start), testing::ExitedWithCode(0), "^/a\tConfirmed\n/b\tConfirmed\n$");
}

TEST_F(UploadCommandTest, WhatEndsACommandThatHasHandedItsFilesOverSaysNothingOfThem)
{
    HiddenTurn turn;
    const auto start = [](Program& program, const QDBusMessage& call) {
        program.send(call.createReply());
        std::raise(SIGTERM);
    };

    EXPECT_EXIT(waitForTurn(turn, start), testing::KilledBySignal(SIGTERM), "^$");
}

TEST_F(UploadCommandTest, AProgramThatGoesToAnotherServerGetsNothingAlsoWhenItComesLater)
{
    IconSettings::use(runningName);
    HiddenTurn turn;
    const auto start = [](Program& /*program*/, const QDBusMessage& /*call*/) { std::abort(); };
    const auto begin = [&turn](Program& program) {
        program.begin();
        QTimer::singleShot(0, &program, [&turn] { turn.giveUp(); });
    };

    EXPECT_EXIT(waitForFiles(start), testing::ExitedWithCode(1),
                "^Quillbox: The window that is open is of a former icon of this name, and goes to another server. "
                "Close it first.\n/a\tNot taken\n/b\tNot taken\n$");
    EXPECT_EXIT(waitForTurn(turn, start, begin), testing::ExitedWithCode(toUploadItself), "^$");

    IconSettings::use(QString());
}

TEST_F(UploadCommandTest, WhatIsNotAnsweredInTimeIsNotKnown)
{
    const auto start = [](Program& program, const QDBusMessage& call) {
        program.send(call.createErrorReply(QDBusError::NoReply, u"Late"_s));
    };

    EXPECT_EXIT(waitForFiles(start), testing::ExitedWithCode(1),
                "^Quillbox: The window that is open does not answer; it may do so later, or never.\n"
                "/a\tNot known whether taken\n/b\tNot known whether taken\n$");
}

TEST_F(UploadCommandTest, WithTheSessionBusAllIsLostOfWhatWasNotOver)
{
    const auto start = [](Program& program, const QDBusMessage& call) {
        program.send(call.createReply());
        program.pass();
        program.killBus();
    };
    const auto startUnanswered = [](Program& program, const QDBusMessage& /*call*/) { program.killBus(); };

    EXPECT_EXIT(waitForFiles(start), testing::ExitedWithCode(1),
                "^Quillbox: The session bus has gone.\n/a\tNot known\n/b\tNot known\n$");
    EXPECT_EXIT(waitForFiles(startUnanswered), testing::ExitedWithCode(1),
                "^Quillbox: The session bus has gone.\n/a\tNot known whether taken\n/b\tNot known whether taken\n$");
}

} // namespace
