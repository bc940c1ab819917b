#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <chrono>

class DeliveryGate;

/// A time limit: reports when nothing has happened for too long. It is suspended while the gate is closed.
class Watchdog final : public QObject {
    Q_OBJECT

public:
    explicit Watchdog(DeliveryGate& gate);

    /// Begins to wait for @p limit, instead of what it waited for before.
    void start(std::chrono::milliseconds limit);
    void stop();
    bool isRunning() const { return m_running; }
    /// Something has happened: the wait begins again. Cheap enough to be called for every block.
    void restart()
    {
        m_quiet.start();
        m_quietBeforeSuspension = {};
    }

signals:
    void expired();

private:
    void suspend();
    void resume();
    void check();

    DeliveryGate& m_gate;
    QTimer m_timer;
    QElapsedTimer m_quiet; ///< Since the last start, restart or resumption.
    std::chrono::milliseconds m_limit{};
    std::chrono::milliseconds m_quietBeforeSuspension{}; ///< Quiet time from before the gate was closed.
    bool m_running = false;
};
