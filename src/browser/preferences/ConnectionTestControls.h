#pragma once

#include "FTPConnectionTest.h"

#include <QObject>

#include <functional>
#include <memory>

class IconLabel;
class QLabel;
class QPushButton;

/// The connection test of a panel: a button that starts and stops it, its answer, and, where nothing but the folder is
/// missing, a button that has it made. Belongs to the main thread.
class ConnectionTestControls final : public QObject {
    Q_OBJECT

public:
    /// All outlive this.
    struct Widgets {
        QPushButton& testButton;
        QPushButton& createFolderButton; ///< Shows while it is of use.
        IconLabel& outcomeIcon; ///< A tick or a cross.
        QLabel& resultLabel; ///< A sentence of our own.
        QLabel& replyLabel; ///< The server's words.
    };
    /// Starts a test with what the panel shows; null when that is not possible.
    using Start = std::function<std::unique_ptr<FTPConnectionTest>(bool createsFolder, FTPConnectionTestHandler)>;

    ConnectionTestControls(const Widgets& widgets, Start start);
    ~ConnectionTestControls() override;

    bool isRunning() const { return m_test != nullptr; }
    /// Stops a test that runs, and forgets its answer.
    void clear();

signals:
    /// A test has come to another state, which shows.
    void reported();

private:
    void startOrStop();
    void start(bool createsFolder);
    void show(const FTPConnectionTestReport& report);
    void end();

    Widgets m_widgets;
    Start m_start;
    std::unique_ptr<FTPConnectionTest> m_test; ///< Set exactly while a connection is tested.
};
