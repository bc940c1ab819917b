#include "Watchdog.h"

#include "DeliveryGate.h"

#include <algorithm>

using namespace std::chrono_literals;

Watchdog::Watchdog(DeliveryGate& gate)
    : m_gate(gate)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &Watchdog::check);
    connect(&m_gate, &DeliveryGate::closed, this, &Watchdog::suspend);
    connect(&m_gate, &DeliveryGate::opened, this, &Watchdog::resume);
}

void Watchdog::start(std::chrono::milliseconds limit)
{
    m_limit = limit;
    m_quietBeforeSuspension = 0ms;
    m_running = true;
    m_quiet.start();
    if (!m_gate.isClosed()) {
        m_timer.start(limit);
    }
}

void Watchdog::stop()
{
    m_running = false;
    m_timer.stop();
}

void Watchdog::suspend()
{
    m_timer.stop();
    m_quietBeforeSuspension += std::chrono::milliseconds(m_quiet.isValid() ? m_quiet.elapsed() : 0);
}

void Watchdog::resume()
{
    if (m_running) {
        m_quiet.start();
        m_timer.start(std::max(m_limit - m_quietBeforeSuspension, 1ms));
    }
}

void Watchdog::check()
{
    const auto quiet = m_quietBeforeSuspension + std::chrono::milliseconds(m_quiet.elapsed());
    if (quiet < m_limit) {
        m_timer.start(m_limit - quiet);
        return;
    }
    m_running = false;
    emit expired();
}
