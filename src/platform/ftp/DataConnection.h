#pragma once

#include <QHostAddress>
#include <QObject>
#include <QPointer>
#include <QSocketNotifier>

#include <span>

class DeliveryGate;

/// The data connection of one transfer: a raw non-blocking socket, watched only while somebody wants to read or write,
/// so that nothing is buffered twice and a partial write is seen as what it is.
///
/// Every signal comes from the event loop, and none while the gate is closed.
class DataConnection final : public QObject {
    Q_OBJECT

public:
    explicit DataConnection(DeliveryGate& gate);
    ~DataConnection() override; ///< Resets a connection that still stands.

    /// Begins to connect; a failure to do so arrives as failed(). False when there is no descriptor left for it.
    [[nodiscard]] bool connectTo(const QHostAddress& host, quint16 port);

    /// From now on readable() is reported again and again while there is something to read or the end has come.
    void watchForReading();
    /// From now on writable() is reported again and again while bytes can be taken.
    void watchForWriting();
    void stopWatching();

    enum class Pending {
        Nothing,
        Bytes,
        End, ///< The peer has ended its side and everything has been read.
        Failure,
    };
    /// What a read would meet.
    Pending pending() const;
    /// Bytes read, 0 at the end, -1 when nothing could be read.
    qint64 read(std::span<char> buffer);
    /// Bytes taken, 0 when nothing could be taken, -1 on failure.
    qint64 write(std::span<const char> data);
    /// Bytes that were taken and that the peer has not acknowledged.
    qint64 unacknowledgedBytes() const;

    /// Tells the peer that everything has been sent. The socket stays, so that unacknowledgedBytes() goes on.
    void endWriting();
    /// Closes in good order.
    void close();
    /// Drops what is under way, so that the peer sees an interruption and not an end.
    void reset();

signals:
    void connected();
    void readable();
    void writable();
    void failed();

private:
    void watch(QSocketNotifier::Type type);
    void updateNotifier();
    void activated();
    void finishConnecting();
    void closeSocket();

    DeliveryGate& m_gate;
    int m_socket = -1;
    QSocketNotifier* m_notifier = nullptr; ///< Destroyed through the loop: it may be the one that is reporting.
    bool m_connecting = false;
    bool m_wanted = false; ///< Somebody wants to hear of readiness.
};
