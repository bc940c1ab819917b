#include "Watchdog.h"

#include "DeliveryGate.h"

#include <algorithm>

using namespace std::chrono_literals;

Watchdog::Watchdog(DeliveryGate& gate)
    : m_gate(gate)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &Watchdog::look);
    connect(&m_gate, &DeliveryGate::closed, this, &Watchdog::standStill);
    connect(&m_gate, &DeliveryGate::opened, this, &Watchdog::goOn);
}

void Watchdog::start(std::chrono::milliseconds limit)
{
    m_limit = limit;
    m_quietBefore = 0ms;
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

std::chrono::milliseconds Watchdog::remaining() const
{
    if (!m_running) {
        return 0ms;
    }
    const auto quiet = m_gate.isClosed() ? 0ms : std::chrono::milliseconds(m_quiet.elapsed());
    return std::max(m_limit - m_quietBefore - quiet, 0ms);
}

void Watchdog::standStill()
{
    m_timer.stop();
    m_quietBefore += std::chrono::milliseconds(m_quiet.isValid() ? m_quiet.elapsed() : 0);
}

void Watchdog::goOn()
{
    if (m_running) {
        m_quiet.start();
        m_timer.start(std::max(m_limit - m_quietBefore, 1ms));
    }
}

void Watchdog::look()
{
    const auto quiet = m_quietBefore + std::chrono::milliseconds(m_quiet.elapsed());
    if (quiet < m_limit) {
        m_timer.start(m_limit - quiet);
        return;
    }
    m_running = false;
    emit expired();
}
