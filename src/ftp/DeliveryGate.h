#pragma once

#include <QObject>

/// Whether the streams of a thread may report. Closed while the thread's loop is suspended: sockets are not read,
/// reports that are due wait, and watchdogs are suspended.
class DeliveryGate final : public QObject {
    Q_OBJECT

public:
    /// The calling thread's gate, made on first use. It lives as long as the thread.
    static DeliveryGate& ofThisThread();

    bool isClosed() const { return m_closed; }
    void setClosed(bool closed);

signals:
    void closed();
    void opened();

private:
    DeliveryGate() = default;

    bool m_closed = false;
};
