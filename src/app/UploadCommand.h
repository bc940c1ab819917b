#pragma once

#include "CommandLine.h"
#include "UploadReport.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QTimer>

#include <memory>

class HiddenTurn;
class TerminationSignals;
class UploadsClient;

/// A command line whose files somebody waits for, or that are to go up without a window: hands them to the program that
/// runs, starting it where the window is wanted, and prints what becomes of them. Belongs to the main thread.
class UploadCommand final : public QObject {
    Q_OBJECT

public:
    /// Ends the process when the command has been carried out. Comes back only when no window is wanted and no program
    /// of our name runs: this one is to be it, and has the @p turn. Needs an application object whose loop does not
    /// run; the connection to the session bus may be none.
    static void run(const CommandLine& commandLine, HiddenTurn& turn, const QDBusConnection& bus);

private:
    UploadCommand(const CommandLine& commandLine, HiddenTurn& turn, const QDBusConnection& bus);
    ~UploadCommand() override;

    void begin();
    void awaitTurn();
    void takeTurn();
    void startWindow();
    void handOver();
    void programLost();
    void exit(int status);
    void fail(const QString& why, const QString& words);

    const CommandLine& m_commandLine;
    HiddenTurn& m_turn;
    QTimer m_turnTimer; ///< Runs while another one has the turn.
    std::unique_ptr<TerminationSignals> m_termination; ///< Likewise.
    UploadReport m_report;
    QDBusConnection m_bus;
    QDBusServiceWatcher m_registration;
    std::unique_ptr<UploadsClient> m_client; ///< Null until the program is there.
    bool m_hasStarted = false; ///< The window.
    bool m_isTaken = false;
    bool m_isEnding = false;
};
