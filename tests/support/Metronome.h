#pragma once

#include <QTimer>

#include <chrono>

/// A timer that only counts. What happens beside it is measured by its beats, not by the clock: when the machine is
/// busy, both come late.
class Metronome final : public QTimer {
public:
    explicit Metronome(std::chrono::milliseconds interval)
    {
        setTimerType(Qt::PreciseTimer);
        connect(this, &QTimer::timeout, this, [this] { ++m_beats; });
        start(interval);
    }

    int beats() const { return m_beats; }

private:
    int m_beats = 0;
};
