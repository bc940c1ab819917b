#pragma once

#include "DataCarrier.h"

#include <QHostAddress>
#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <memory>
#include <optional>
#include <span>

class DeliveryGate;
class TlsChannel;

/// The data connection of one transfer: a raw non-blocking socket, watched only while somebody wants to read or write,
/// so that nothing is buffered twice and a partial write is seen as what it is. A carrier moves the bytes, encrypted or
/// not; the connection makes the socket, watches it and ends it.
///
/// Every signal comes from an event of the loop, and none while the gate is closed. One turn of the loop may bring
/// several signals, for a moment that nobody notices, since a turn costs more than a block of data.
///
/// Destroyed through the loop: it may be the one that is reporting.
class DataConnection final : public QObject {
    Q_OBJECT

public:
    explicit DataConnection(DeliveryGate& gate);
    ~DataConnection() override; ///< Resets a connection that still stands.

    /// Begins to connect; awaitPeer() follows. A failure to begin arrives as failed(). False when the system has no
    /// descriptor, port or memory left for it: then nothing has begun. With @p control, the channel of the control
    /// connection, the connection is encrypted, in the same session: it is connected() when its handshake is done, too.
    /// The channel is not needed any more when this returns.
    [[nodiscard]] bool connectTo(const QHostAddress& host, quint16 port, const TlsChannel* control = nullptr);
    /// What has come of connecting is reported from now on. Meant for use from inside an event of the loop: a peer that
    /// is near has accepted the connection by the time that a command is sent, and that is reported at once.
    void awaitPeer();
    /// Whether the peer has accepted the connection, which may wait for its handshake.
    bool hasReachedPeer() const { return m_socket >= 0 && !m_connecting; }

    /// From now on readable() is reported again and again while there is something to read or the end has come.
    void watchForReading();
    /// From now on writable() is reported again and again while bytes can be taken. Meant for use from inside an event
    /// of the loop: the first ones are reported at once.
    void watchForWriting();
    void stopWatching();

    using Pending = DataCarrier::Pending;
    /// Bytes read, 0 at the end, -1 when nothing could be read.
    qint64 read(std::span<char> buffer);
    /// Bytes taken, 0 when nothing could be taken, -1 on failure. Meant for use from inside writable().
    qint64 write(std::span<const char> data);
    /// Bytes that were taken and that the peer has not acknowledged, encrypted as they are sent; of a connection that
    /// has ended, at its end.
    qint64 unacknowledgedBytes() const;
    /// Whether the peer has acknowledged something since bytes were last taken, or since this was last asked.
    bool hasProgressed();

    /// Tells the peer that everything has been sent. The socket stays; delivered() or failed() follows.
    void endWriting();
    /// Whether the end, and what was taken before it, still waits for the socket. Only encrypted bytes do.
    bool isEnding() const { return m_ending; }
    /// Whether the peer's TCP has acknowledged every byte and our end.
    bool isDelivered() const;
    /// Closes in good order, when the peer has ended its side or everything has been sent.
    void close();
    /// Drops what is under way, so that the peer sees an interruption and not an end.
    void reset();

signals:
    /// The peer has accepted the connection, and its handshake takes a while.
    void reached();
    void connected();
    void readable(DataConnection::Pending pending); ///< Not for Nothing.
    void writable();
    /// The peer's TCP has acknowledged every byte and our end.
    void delivered();
    void failed();

private:
    void watchFor(std::optional<QSocketNotifier::Type> type);
    void updateNotifier();
    void dropNotifier();
    void readAgainIfMore();
    void takeTurn();
    void moveData(QSocketNotifier::Type type);
    bool isWatchedFor(QSocketNotifier::Type type) const;
    bool reportReadable();
    bool reportWritable();
    void finishConnecting();
    void shakeHands();
    void finishWriting();
    void checkDelivery();
    void closeSocket();
    void fail();

    DeliveryGate& m_gate;
    int m_socket = -1;
    QSocketNotifier* m_notifier = nullptr; ///< Destroyed through the loop: it may be the one that is reporting.
    bool m_connecting = false;
    bool m_shakingHands = false;
    bool m_ending = false; ///< Our side ends when the waiting bytes have been sent.
    std::optional<QSocketNotifier::Type> m_wanted; ///< What somebody wants to hear of.
    bool m_isInTurn = false;
    qint64 m_unacknowledged = 0; ///< Of what was taken, at the last look.
    QTimer m_deliveryCheck; ///< Runs from our end on, until everything was acknowledged.
    bool m_readPosted = false; ///< The loop will look for what has been received and not yet read.
    std::unique_ptr<DataCarrier> m_carrier; ///< There is one while there is a socket.
};
