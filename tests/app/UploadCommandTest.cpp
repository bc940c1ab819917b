#include "UploadCommand.h"

#include "ApplicationService.h"
#include "BusName.h"
#include "CommandLine.h"
#include "EnvironmentValue.h"
#include "HiddenTurn.h"
#include "PrivateBus.h"
#include "ProgramName.h"
#include "UploadsInterface.h"

#include <QDBusConnectionInterface>
#include <QDBusVirtualObject>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

const QString runningName = u"Scans"_s;

/// The program that runs: it takes all files, and does what a test wants when they are to go up.
class Program final : public QDBusVirtualObject {
public:
    using Start = std::function<void(Program& program, const QDBusMessage& call)>;

    Program(const PrivateBus& bus, Start start)
        : m_bus(bus.connection())
        , m_commandsBus(bus.serviceConnection())
        , m_start(std::move(start))
    {
        const QString name = busName(runningName);
        m_bus.registerVirtualObject(ApplicationService::objectPath(name), this);
        m_bus.registerService(name);
    }

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
        const QByteArrayList paths{ "/a", "/b" };
        signal(call, u"Ended"_s, { QVariant::fromValue(paths), QStringList{ u"Confirmed"_s, u"Confirmed"_s } });
        signal(call, u"Over"_s, { true, true });
    }
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

/// Ends as a command does that waits for two files, where the program that runs does that. All that is printed is in
/// the standard error.
[[noreturn]] void waitForFiles(Program::Start start)
{
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
    setProgramFileName(runningName);
    UploadsInterface::registerTypes();
    const PrivateBus bus;
    Program program(bus, std::move(start));
    CommandLine commandLine;
    commandLine.files = QStringList{ u"/a"_s, u"/b"_s };
    commandLine.isWaitedFor = true;
    HiddenTurn turn;
    UploadCommand::run(commandLine, turn, bus.serviceConnection());
    std::abort();
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
