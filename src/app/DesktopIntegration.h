#pragma once

#include "LauncherProgress.h"
#include "Notifier.h"
#include "SleepInhibitor.h"

#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>

class AutomaticTries;
class UploadHistory;
class ViewController;

/// Tells the desktop what the transfers are about: progress on the launcher's icon, no sleep while files move or are
/// about to, and one notification when a queue has been worked off unseen.
class DesktopIntegration final : public QObject {
    Q_OBJECT

public:
    struct Desktop {
        SleepInhibitor::Bus sessionBus;
        SleepInhibitor::Bus systemBus; ///< Connected to when files first move.
        std::function<bool()> isInFront; ///< Whether the user sees one of the program's windows.
    };

    /// @p viewController outlives this. @p programName: the file name under which the program runs; its
    /// launcher is looked for once.
    DesktopIntegration(ViewController& viewController, const QString& programName, Desktop desktop);

signals:
    /// The user has clicked on the notification.
    void activated();

private:
    void queueDrained();
    void notify();

    Desktop m_desktop;
    UploadHistory& m_history;
    const AutomaticTries& m_tries;
    QTimer m_check{ this }; ///< Runs while a listing that is to come may know better of the last queue.
    Notifier m_notifier;
    LauncherProgress m_progress;
    SleepInhibitor m_inhibitor;
};
