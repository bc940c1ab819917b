#pragma once

#include "FileTally.h"
#include "LauncherProgress.h"
#include "Notifier.h"
#include "SleepInhibitor.h"

#include <QObject>
#include <QString>

#include <functional>

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

    /// The text about a finished queue; null when the user has ended it and there is nothing to report.
    static QString drainedText(const FileTally& tally);

signals:
    /// The user has clicked on the notification.
    void activated();

private:
    void queueDrained(const FileTally& tally);

    Desktop m_desktop;
    Notifier m_notifier;
    LauncherProgress m_progress;
    SleepInhibitor m_inhibitor;
};
