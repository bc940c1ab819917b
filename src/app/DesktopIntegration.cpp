#include "DesktopIntegration.h"

#include "Addressing.h"
#include "AutomaticTries.h"
#include "ProgramIdentity.h"
#include "ViewController.h"

#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

DesktopIntegration::DesktopIntegration(ViewController& viewController, const QString& programName, Desktop desktop)
    : m_desktop(std::move(desktop))
    , m_history(viewController.history())
    , m_tries(viewController.tries())
    , m_notifier(m_desktop.sessionBus(),
                 { .name = Addressing::appName(programName),
                   .icon = ProgramIdentity::notificationIcon(programName),
                   .desktopEntry = ProgramIdentity::launcher(programName) })
    , m_progress(m_desktop.sessionBus(), ProgramIdentity::launcher(programName))
    , m_inhibitor(m_desktop.systemBus, m_desktop.sessionBus, Addressing::appName(programName),
                  u"Files are being transferred"_s)
{
    connect(&viewController, &ViewController::activityChanged, this, [this](const TransferActivity& activity) {
        m_progress.setProgress(activity.progress);
        m_inhibitor.setInhibited(activity.isMoving || activity.isWaiting);
    });
    m_check.setSingleShot(true);
    connect(&m_check, &QTimer::timeout, this, &DesktopIntegration::notify);
    connect(&m_history, &UploadHistory::queueDrained, this, &DesktopIntegration::queueDrained);
    connect(&m_history, &UploadHistory::filesChecked, this, [this] {
        if (m_check.isActive() && !m_history.hasUncheckedFiles()) {
            m_check.start(0ms);
        }
    });
    // The next queue has its own notification.
    connect(&m_history, &UploadHistory::queueBegins, this, [this] {
        if (m_check.isActive()) {
            m_check.stop();
            notify();
        }
    });
    connect(&m_notifier, &Notifier::activated, this, &DesktopIntegration::activated);
}

void DesktopIntegration::queueDrained()
{
    const bool isSaid
        = m_tries.isQueueOfTries() && m_history.queueTally().lost() > 0; // The first failure of the files was.
    if (m_desktop.isInFront() || isSaid) {
        return;
    }
    m_check.start(m_history.hasUncheckedFiles() ? UploadHistory::longestCheck : 0ms);
}

void DesktopIntegration::notify()
{
    const FileTally& tally = m_history.queueTally();
    const bool isWorthIt = tally.confirmed + tally.notListed + tally.lost() > 0; // What the user has ended is not.
    if (isWorthIt) {
        m_notifier.show(tally.lost() == 0 ? u"Upload finished"_s : u"Upload finished with failures"_s,
                        m_history.queueText());
    }
}
