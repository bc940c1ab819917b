#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <chrono>

class DeliveryGate;

/// Tells when nothing has happened for too long. It stands still while the gate is closed.
class Watchdog final : public QObject {
    Q_OBJECT

public:
    explicit Watchdog(DeliveryGate& gate);

    /// Begins to wait for @p limit, whatever was waited for before.
    void start(std::chrono::milliseconds limit);
    void stop();
    /// What is left of the limit; 0 when it does not run.
    std::chrono::milliseconds remaining() const;
    /// Something has happened: the wait begins again. Cheap enough to be called for every block.
    void touch()
    {
        m_quiet.start();
        m_quietBefore = {};
    }

signals:
    void expired();

private:
    void standStill();
    void goOn();
    void look();

    DeliveryGate& m_gate;
    QTimer m_timer;
    QElapsedTimer m_quiet; ///< Since the last sign of life.
    std::chrono::milliseconds m_limit{};
    std::chrono::milliseconds m_quietBefore{}; ///< Quiet time from before the gate was closed.
    bool m_running = false;
};
