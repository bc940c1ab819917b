#include "DelayedAlert.h"

#include "RunLoop.h"

#include <QDeadlineTimer>
#include <QList>

#include <algorithm>
#include <mutex>
#include <utility>

namespace {

constexpr int delayMs = 1000;

/// How long nobody must have asked for an alert until it is shown again. Less than the delay: a user who has read one
/// and tries again gets it again.
constexpr int pauseMs = 900;

/// A user who has seen the alert takes at least so long to ask again; a queue asks at once.
constexpr int quickestUserMs = 250;

thread_local int silences = 0; ///< So many live.

std::function<void(const QString&, const QString&)>& installedPresenter()
{
    static std::function<void(const QString&, const QString&)> presenter;
    return presenter;
}

/// The alerts that are asked for again and again, as for each file of a long queue without a connection. One alert
/// stands for a whole run; otherwise there would be another as soon as one is answered, for as long as the queue lasts.
class AlertRuns {
public:
    /// Whether the request begins a run, so that its alert is to be shown.
    bool beginsWith(const QString& message, const QString& informative)
    {
        const std::lock_guard lock(m_mutex);
        m_runs.removeIf([](const Run& run) { return run.end.hasExpired(); });
        const auto run = std::find_if(m_runs.begin(), m_runs.end(), [&](const Run& each) {
            return each.message == message && each.informative == informative;
        });
        if (run == m_runs.end()) {
            m_runs.append({ message, informative, QDeadlineTimer(pauseMs) });
            return true;
        }
        const auto sinceRequest = pauseMs - run->end.remainingTime();
        run->end.setRemainingTime(pauseMs);
        return std::exchange(run->isShown, false) && sinceRequest >= quickestUserMs;
    }
    /// The alert is shown to the user, who may answer it and try again.
    void noteShown(const QString& message, const QString& informative)
    {
        const std::lock_guard lock(m_mutex);
        for (Run& run : m_runs) {
            run.isShown = run.isShown || (run.message == message && run.informative == informative);
        }
    }
    void forget()
    {
        const std::lock_guard lock(m_mutex);
        m_runs.clear();
    }

private:
    struct Run {
        QString message;
        QString informative;
        QDeadlineTimer end; ///< Unless somebody asks before.
        bool isShown = false; ///< Since the last request.
    };

    std::mutex m_mutex;
    QList<Run> m_runs;
};

AlertRuns& alertRuns()
{
    static AlertRuns runs;
    return runs;
}

} // namespace

void ShowAlertAfterDelay(const QString& message, const QString& informative)
{
    if (silences > 0 || !alertRuns().beginsWith(message, informative)) {
        return;
    }
    RunLoop::dispatchAfter(delayMs, nullptr, [message, informative] {
        // A copy: the presenter may install another one.
        const auto presenter = installedPresenter();
        if (presenter != nullptr) {
            alertRuns().noteShown(message, informative);
            presenter(message, informative);
        }
    });
}

DelayedAlertSilence::DelayedAlertSilence()
{
    ++silences;
}

DelayedAlertSilence::~DelayedAlertSilence()
{
    --silences;
}

void setDelayedAlertPresenter(std::function<void(const QString&, const QString&)> presenter)
{
    installedPresenter() = std::move(presenter);
    alertRuns().forget();
}
