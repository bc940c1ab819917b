#include "DesktopIntegration.h"

#include "Addressing.h"
#include "ProgramIdentity.h"
#include "ViewController.h"

#include <QLocale>

#include <utility>

using namespace Qt::StringLiterals;

DesktopIntegration::DesktopIntegration(ViewController& viewController, const QString& programName, Desktop desktop)
    : m_desktop(std::move(desktop))
    , m_notifier(m_desktop.sessionBus(),
                 { .name = Addressing::appName(programName),
                   .icon = ProgramIdentity::iconName(),
                   .desktopEntry = ProgramIdentity::launcher(programName) })
    , m_progress(m_desktop.sessionBus(), ProgramIdentity::launcher(programName))
    , m_inhibitor(m_desktop.systemBus, m_desktop.sessionBus, Addressing::appName(programName),
                  u"Files are being transferred"_s)
{
    connect(&viewController, &ViewController::activityChanged, this, [this](const TransferActivity& activity) {
        m_progress.setProgress(activity.progress);
        m_inhibitor.setInhibited(activity.isMoving || activity.isWaiting);
    });
    connect(&viewController.history(), &UploadHistory::queueDrained, this, &DesktopIntegration::queueDrained);
    connect(&m_notifier, &Notifier::activated, this, &DesktopIntegration::activated);
}

QString DesktopIntegration::drainedText(const FileTally& tally)
{
    if (tally.confirmed + tally.failed == 0) {
        return {};
    }
    const QLocale locale;
    const auto counted
        = [&locale](int count) { return locale.toString(count) + (count == 1 ? u" file"_s : u" files"_s); };
    QStringList parts{ u"%1 uploaded"_s.arg(counted(tally.confirmed)) };
    if (tally.failed > 0) {
        parts.append(u"%1 failed"_s.arg(locale.toString(tally.failed)));
    }
    if (tally.stopped > 0) {
        parts.append(u"%1 stopped"_s.arg(locale.toString(tally.stopped)));
    }
    return parts.join(u", "_s);
}

void DesktopIntegration::queueDrained(const FileTally& tally)
{
    const QString text = drainedText(tally);
    if (!text.isNull() && !m_desktop.isInFront()) {
        m_notifier.show(tally.failed == 0 ? u"Upload finished"_s : u"Upload finished with failures"_s, text);
    }
}
