#include "UploadCommand.h"

#include "ApplicationService.h"
#include "BusName.h"
#include "Display.h"
#include "HiddenTurn.h"
#include "IconSettings.h"
#include "OwnProcess.h"
#include "ProgramName.h"
#include "TerminationSignals.h"
#include "UploadsClient.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto turnInterval = 200ms; ///< Nobody tells that a process has ended that is not on the bus.
constexpr int nobodyRuns = -1; ///< What the loop ends with where this process is to upload the files.

bool isRunning(const QDBusConnection& bus)
{
    return ApplicationService::isRunning(bus, programFileName());
}

} // namespace

void UploadCommand::run(const CommandLine& commandLine, HiddenTurn& turn, const QDBusConnection& bus)
{
    UploadCommand command(commandLine, turn, bus);
    QMetaObject::invokeMethod(&command, &UploadCommand::begin, Qt::QueuedConnection);
    const int status = QCoreApplication::exec();
    if (status != nobodyRuns) {
        std::fflush(nullptr);
        std::_Exit(status);
    }
}

UploadCommand::UploadCommand(const CommandLine& commandLine, HiddenTurn& turn, const QDBusConnection& bus)
    : m_commandLine(commandLine)
    , m_turn(turn)
    , m_report(commandLine.files)
    , m_bus(bus)
    , m_registration(busName(programFileName()), bus, QDBusServiceWatcher::WatchForRegistration)
{
    connect(&m_registration, &QDBusServiceWatcher::serviceRegistered, this, &UploadCommand::begin);
    connect(&m_turnTimer, &QTimer::timeout, this, &UploadCommand::takeTurn);
}

UploadCommand::~UploadCommand() = default;

/// A program of our name that goes to another server gets nothing.
void UploadCommand::begin()
{
    if (m_client != nullptr) {
        return;
    }
    const bool isOther = ApplicationService::hasOtherServer(m_bus, programFileName());
    if (!isOther && isRunning(m_bus)) {
        handOver();
    } else if (m_commandLine.isHidden) {
        awaitTurn();
    } else if (isOther) {
        fail(u"The window that is open is of a former icon of this name, and goes to another server. Close it first."_s,
             u"Not taken"_s);
    } else if (!m_bus.isConnected()) {
        fail(u"There is no session bus, over which the window could be asked. \"--hidden\" needs none."_s,
             u"Not taken"_s);
    } else {
        startWindow();
    }
}

/// This program is to be the one, after those that are hidden as well and cannot be asked to take the files.
void UploadCommand::awaitTurn()
{
    if (m_termination == nullptr) {
        m_termination = std::make_unique<TerminationSignals>();
        connect(m_termination.get(), &TerminationSignals::received, this, [this] {
            m_report.rest(u"Not confirmed: Quillbox ended"_s);
            exit(1);
        });
    }
    m_turnTimer.start(turnInterval);
    takeTurn();
}

void UploadCommand::takeTurn()
{
    if (m_turn.take(programFileName())) {
        m_turnTimer.stop();
        QCoreApplication::exit(nobodyRuns);
    }
}

void UploadCommand::startWindow()
{
    if (!hasDisplay()) {
        fail(u"There is no display for the window. \"--hidden\" needs none."_s, u"Not taken"_s);
        return;
    }
    if (std::exchange(m_hasStarted, true)) {
        fail(u"The window was opened, and has gone."_s, u"Not taken"_s);
        return;
    }
    auto* const window = new OwnProcess(this);
    connect(window, &OwnProcess::ended, this, [this] {
        if (m_client == nullptr && !isRunning(m_bus)) {
            fail(u"The window could not be opened."_s, u"Not taken"_s);
        }
    });
    // Named also where nobody has named them here: they may be gone when the window looks for them.
    window->start(IconSettings::areInUse() ? QStringList{ u"--settings"_s, IconSettings::filePath(programFileName()) }
                                           : QStringList());
}

void UploadCommand::handOver()
{
    m_turnTimer.stop();
    m_turn.giveUp();
    m_termination.reset(); // The files are in other hands.
    m_client = std::make_unique<UploadsClient>(m_bus, programFileName());
    connect(m_client.get(), &UploadsClient::taken, this, [this] {
        m_isTaken = true;
        if (!m_commandLine.isWaitedFor) {
            exit(0);
        }
    });
    connect(m_client.get(), &UploadsClient::refused, this, [this](const QString& why) { fail(why, u"Not taken"_s); });
    connect(m_client.get(), &UploadsClient::unanswered, this, [this] {
        fail(u"The window that is open does not answer; it may do so later, or never."_s, u"Not known whether taken"_s);
    });
    connect(m_client.get(), &UploadsClient::ended, this,
            [this](const QList<FileEnd>& files) { m_report.ended(files); });
    connect(m_client.get(), &UploadsClient::corrected, this,
            [this](const QList<FileEnd>& files) { m_report.corrected(files); });
    connect(m_client.get(), &UploadsClient::over, this, [this](bool haveAllArrived, bool haveAllJoined) {
        if (!haveAllJoined) {
            m_report.rest(u"Not confirmed: Quillbox ended"_s);
        }
        exit(haveAllArrived ? 0 : 1);
    });
    connect(m_client.get(), &UploadsClient::lost, this, &UploadCommand::programLost);
    connect(m_client.get(), &UploadsClient::busLost, this, [this] {
        fail(u"The session bus has gone."_s, m_isTaken ? u"Not known"_s : u"Not known whether taken"_s);
    });
    m_client->upload(m_commandLine.files, m_commandLine.isHidden);
}

void UploadCommand::programLost()
{
    if (m_isTaken) {
        fail(u"The window has gone."_s, u"Not known: Quillbox ended"_s);
    } else {
        m_client->disconnect(this);
        m_client.release()->deleteLater(); // It is the one that says so.
        begin();
    }
}

/// Ends the command with @p status, if all that was to be printed could be.
void UploadCommand::exit(int status)
{
    if (m_client != nullptr) {
        m_client->disconnect(this); // What comes behind that changes nothing, such as the end of the program.
    }
    QCoreApplication::exit(m_report.finish() ? status : 1);
}

/// Ends the command: @p words are said of the files that nothing was heard of.
void UploadCommand::fail(const QString& why, const QString& words)
{
    if (std::exchange(m_isEnding, true)) {
        return;
    }
    m_report.problem(why);
    m_report.rest(words);
    exit(1);
}
