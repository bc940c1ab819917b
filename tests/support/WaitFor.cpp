#include "WaitFor.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>

using namespace std::chrono_literals;

bool waitFor(const std::function<bool()>& condition, std::chrono::milliseconds limit)
{
    const QDeadlineTimer deadline(limit);
    QTimer look; // No event may tell that the condition holds.
    look.setTimerType(Qt::PreciseTimer);
    look.start(2ms);
    while (!condition()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return true;
}

void drainEventLoop()
{
    for (int round = 0; round < 10; ++round) {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}
