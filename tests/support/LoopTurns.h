#pragma once

#include <QAbstractEventDispatcher>
#include <QObject>

#include <algorithm>
#include <ctime>

/// Measures the turns of this thread's loop from its construction on, in processor time: a machine that is busy with
/// something else does not make them longer. Turns are told apart where the loop goes to wait.
class LoopTurns final : public QObject {
public:
    LoopTurns()
    {
        connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this, [this] {
            const double now = processorMilliseconds();
            m_longest = std::max(m_longest, now - m_start);
            m_start = now;
        });
    }

    /// Of those that are over.
    double longestMilliseconds() const { return m_longest; }

private:
    static double processorMilliseconds()
    {
        timespec time{};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
    }

    double m_start = processorMilliseconds();
    double m_longest = 0;
};
