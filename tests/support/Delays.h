#pragma once

#include "WaitFor.h"

#include <QList>
#include <QPointer>
#include <QTimer>

#include <algorithm>
#include <chrono>

/// The timers of what waits with @p context, or with an object of its own, for its time, as RunLoop::dispatchAfter()
/// makes them; what is due first comes first.
inline QList<QPointer<QTimer>> delayTimersOf(const QObject& context)
{
    QList<QPointer<QTimer>> timers;
    for (QTimer* timer : context.findChildren<QTimer*>()) {
        if (timer->isSingleShot() && timer->isActive()) {
            timers.append(timer);
        }
    }
    std::stable_sort(timers.begin(), timers.end(), [](const QPointer<QTimer>& one, const QPointer<QTimer>& other) {
        return one->remainingTimeAsDuration() < other->remainingTimeAsDuration();
    });
    return timers;
}

/// How long each of them waits in all, in milliseconds.
inline QList<int> delaysOf(const QObject& context)
{
    QList<int> delays;
    for (const QPointer<QTimer>& timer : delayTimersOf(context)) {
        delays.append(timer->interval());
    }
    return delays;
}

/// Lets what waits with @p context come due now, in its order. What that leads to waits for its own time.
inline void passDelaysOf(const QObject& context)
{
    const QList<QPointer<QTimer>> timers = delayTimersOf(context);
    for (const QPointer<QTimer>& timer : timers) {
        timer->start(0);
    }
    waitFor([&timers] {
        return std::none_of(timers.begin(), timers.end(),
                            [](const QPointer<QTimer>& timer) { return timer != nullptr && timer->isActive(); });
    });
}
