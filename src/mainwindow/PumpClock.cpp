#include "PumpClock.h"

#include <QDateTime>

#include <utility>

using namespace std::chrono_literals;

namespace {

/// Until the second that the user's clock shows has ended.
std::chrono::milliseconds restOfSecond()
{
    return 1000ms - std::chrono::milliseconds(QDateTime::currentMSecsSinceEpoch() % 1000);
}

} // namespace

PumpClock::PumpClock(QObject* parent)
    : QObject(parent)
{
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &PumpClock::due);
}

void PumpClock::start()
{
    m_sinceBusy.start();
    m_timer.start(interval);
}

void PumpClock::wake()
{
    m_isWoken = true;
    if (std::exchange(m_isResting, false)) {
        m_timer.start(interval);
    }
}

void PumpClock::came(bool isBusy)
{
    if (std::exchange(m_isWoken, false) || isBusy || !m_isSightKnown) {
        m_sinceBusy.start();
    }
    if (m_sinceBusy.hasExpired(m_patience.count())) {
        m_isResting = true;
        m_timer.start(m_isSeen ? restOfSecond() : unseenInterval);
    } else if (std::exchange(m_isResting, false)) {
        m_timer.start(interval);
    }
}

void PumpClock::setSeen(bool isSeen)
{
    m_isSeen = isSeen;
    m_isSightKnown = true;
    wake();
}
