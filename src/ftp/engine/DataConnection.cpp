#include "DataConnection.h"

#include "DeliveryGate.h"
#include "PlainCarrier.h"
#include "SocketAddress.h"
#include "SocketCalls.h"
#include "TlsCarrier.h"

#include <QDeadlineTimer>

#include <algorithm>
#include <cerrno>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

using namespace std::chrono_literals;

namespace {

/// For how long one turn of the loop moves data: short enough that nobody notices it.
constexpr auto longestTurn = 2ms;

/// Nothing wakes the loop when the last byte is acknowledged. The time between two looks at it doubles between these.
constexpr auto firstDeliveryCheck = 1ms;
constexpr auto slowestDeliveryCheck = 50ms;

} // namespace

DataConnection::DataConnection(DeliveryGate& gate)
    : m_gate(gate)
{
    connect(&m_gate, &DeliveryGate::closed, this, &DataConnection::updateNotifier);
    connect(&m_gate, &DeliveryGate::opened, this, &DataConnection::updateNotifier);
    m_deliveryCheck.setSingleShot(true);
    connect(&m_deliveryCheck, &QTimer::timeout, this, &DataConnection::checkDelivery);
}

DataConnection::~DataConnection()
{
    reset();
}

bool DataConnection::connectTo(const QHostAddress& host, quint16 port, const TlsChannel* control)
{
    const SocketAddress address = socketAddress(host, port);
    m_socket = ::socket(address.storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (m_socket < 0) {
        return false;
    }
    if (control != nullptr) {
        m_carrier = std::make_unique<TlsCarrier>(m_socket, *control);
    } else {
        m_carrier = std::make_unique<PlainCarrier>(m_socket);
    }
    const int on = 1;
    ::setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    m_connecting = true;
    const int result = ::connect(m_socket, reinterpret_cast<const sockaddr*>(&address.storage), address.length);
    if (result != 0 && errno != EINPROGRESS) {
        const bool isShortage = errno == EADDRNOTAVAIL || errno == EAGAIN || errno == ENOBUFS || errno == ENOMEM;
        closeSocket();
        if (isShortage) {
            return false;
        }
        QMetaObject::invokeMethod(this, &DataConnection::failed, Qt::QueuedConnection);
        return true;
    }
    return true;
}

void DataConnection::awaitPeer()
{
    if (m_socket < 0) {
        return; // What came of it is about to be reported.
    }
    // To be woken costs more than to look.
    if (m_gate.isClosed() || writability(m_socket) == Writability::Full) {
        watchFor(QSocketNotifier::Write);
    } else {
        takeTurn();
    }
}

void DataConnection::watchForReading()
{
    watchFor(QSocketNotifier::Read);
}

void DataConnection::watchForWriting()
{
    m_wanted = QSocketNotifier::Write;
    if (m_isInTurn) {
        moveData(QSocketNotifier::Write);
    } else {
        takeTurn();
    }
}

void DataConnection::stopWatching()
{
    watchFor(std::nullopt);
}

/// The socket is watched from the end of the turn on: to begin and to end that costs more than a block of data.
void DataConnection::watchFor(std::optional<QSocketNotifier::Type> type)
{
    m_wanted = type;
    if (!m_isInTurn) {
        updateNotifier();
    }
}

void DataConnection::updateNotifier()
{
    const bool isWatching = m_wanted && m_socket >= 0 && !m_gate.isClosed();
    if (m_notifier != nullptr && m_wanted && m_notifier->type() != *m_wanted) {
        dropNotifier();
    }
    if (m_notifier == nullptr && isWatching) {
        m_notifier = new QSocketNotifier(m_socket, *m_wanted, this);
        connect(m_notifier, &QSocketNotifier::activated, this, &DataConnection::takeTurn);
    } else if (m_notifier != nullptr && m_notifier->isEnabled() != isWatching) {
        m_notifier->setEnabled(isWatching);
    }
    readAgainIfMore();
}

void DataConnection::dropNotifier()
{
    if (QSocketNotifier* const notifier = std::exchange(m_notifier, nullptr)) {
        notifier->setEnabled(false);
        notifier->deleteLater();
    }
}

/// What the carrier has received already, the socket does not report again.
void DataConnection::readAgainIfMore()
{
    if (m_readPosted || !isWatchedFor(QSocketNotifier::Read) || !m_carrier->mayHaveMore()) {
        return;
    }
    m_readPosted = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_readPosted = false;
            if (isWatchedFor(QSocketNotifier::Read)) {
                takeTurn();
            }
        },
        Qt::QueuedConnection);
}

/// What the socket is ready for.
void DataConnection::takeTurn()
{
    m_isInTurn = true;
    if (m_connecting) {
        finishConnecting();
    } else if (m_shakingHands) {
        shakeHands();
    } else if (m_wanted) {
        moveData(*m_wanted);
    }
    m_isInTurn = false;
    updateNotifier();
}

void DataConnection::moveData(QSocketNotifier::Type type)
{
    if (!isWatchedFor(type)) {
        return;
    }
    const QDeadlineTimer turn(longestTurn, Qt::PreciseTimer);
    m_carrier->beginTurn();
    bool isReady = true;
    do {
        isReady = type == QSocketNotifier::Read ? reportReadable() : reportWritable();
    } while (isReady && isWatchedFor(type) && !turn.hasExpired());
    if (type == QSocketNotifier::Write) {
        m_unacknowledged = unacknowledgedBytes();
    }
}

bool DataConnection::isWatchedFor(QSocketNotifier::Type type) const
{
    return m_socket >= 0 && m_wanted == type && !m_gate.isClosed();
}

/// False when there is nothing to report.
bool DataConnection::reportReadable()
{
    const Pending found = m_carrier->pending();
    if (found == Pending::Nothing) {
        return false;
    }
    emit readable(found);
    return true;
}

/// False when there is nothing to report.
bool DataConnection::reportWritable()
{
    switch (m_carrier->space()) {
    case DataCarrier::Space::None:
        return false;
    case DataCarrier::Space::Failure:
        fail();
        break;
    case DataCarrier::Space::Some:
        if (m_ending) {
            finishWriting();
        } else {
            emit writable();
        }
        break;
    }
    return true;
}

void DataConnection::finishConnecting()
{
    m_connecting = false;
    stopWatching();
    if (takePendingError(m_socket) != 0) {
        closeSocket();
        emit failed();
        return;
    }
    m_shakingHands = true;
    shakeHands();
    if (m_shakingHands) {
        emit reached();
    }
}

void DataConnection::shakeHands()
{
    switch (m_carrier->shakeHands()) {
    case DataCarrier::Handshake::WaitsToRead:
        watchFor(QSocketNotifier::Read);
        break;
    case DataCarrier::Handshake::WaitsToWrite:
        watchFor(QSocketNotifier::Write);
        break;
    case DataCarrier::Handshake::Done:
        m_shakingHands = false;
        stopWatching();
        emit connected();
        break;
    case DataCarrier::Handshake::Failed:
        m_shakingHands = false;
        fail();
        break;
    }
}

void DataConnection::fail()
{
    stopWatching();
    emit failed();
}

qint64 DataConnection::read(std::span<char> buffer)
{
    return m_carrier != nullptr ? m_carrier->read(buffer) : -1;
}

qint64 DataConnection::write(std::span<const char> data)
{
    return m_carrier != nullptr ? m_carrier->write(data) : -1;
}

bool DataConnection::hasProgressed()
{
    const qint64 before = std::exchange(m_unacknowledged, unacknowledgedBytes());
    return m_unacknowledged < before;
}

qint64 DataConnection::unacknowledgedBytes() const
{
    return m_carrier != nullptr ? ::unacknowledgedBytes(m_socket) + m_carrier->unsentBytes() : m_unacknowledged;
}

void DataConnection::endWriting()
{
    stopWatching();
    m_carrier->sayEnd();
    if (m_carrier->flush() == DataCarrier::Flush::Waits) {
        m_ending = true;
        watchFor(QSocketNotifier::Write);
    } else {
        finishWriting();
    }
}

void DataConnection::finishWriting()
{
    m_ending = false;
    stopWatching();
    ::shutdown(m_socket, SHUT_WR);
    m_deliveryCheck.start(firstDeliveryCheck);
}

bool DataConnection::isDelivered() const
{
    return m_deliveryCheck.isActive() && unacknowledgedBytes() == 0;
}

void DataConnection::checkDelivery()
{
    // Asked first: the last acknowledgement and the end may come between the two questions.
    const bool isOver = ::isOver(m_socket);
    const bool isDelivered = unacknowledgedBytes() == 0;
    if (m_gate.isClosed() || (!isDelivered && !isOver)) {
        m_deliveryCheck.start(
            std::min(2 * m_deliveryCheck.intervalAsDuration(), std::chrono::milliseconds(slowestDeliveryCheck)));
    } else if (isDelivered) {
        emit delivered();
    } else {
        emit failed();
    }
}

void DataConnection::close()
{
    if (m_carrier != nullptr) {
        m_carrier->sayEnd();
        m_carrier->flush();
    }
    closeSocket();
}

void DataConnection::reset()
{
    if (m_socket >= 0) {
        const linger atOnce{ 1, 0 };
        ::setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
        closeSocket();
    }
}

void DataConnection::closeSocket()
{
    m_wanted.reset();
    m_deliveryCheck.stop();
    dropNotifier();
    m_unacknowledged = unacknowledgedBytes();
    m_carrier.reset();
    if (m_socket >= 0) {
        ::close(m_socket);
        m_socket = -1;
    }
    m_connecting = false;
    m_shakingHands = false;
    m_ending = false;
}
