#include "DataConnection.h"

#include "DeliveryGate.h"
#include "SocketAddress.h"
#include "TlsChannel.h"

#include <QDeadlineTimer>

#include <algorithm>
#include <cerrno>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

using namespace std::chrono_literals;

namespace {

/// For how long one turn of the loop goes on to move data: whoever waits for the loop does not notice it.
constexpr auto longestTurn = 2ms;

/// How many bytes wait to be read, as far as that can be told without reading; 0 also at the end.
qint64 bytesToRead(int socket)
{
    int count = 0;
    return ::ioctl(socket, FIONREAD, &count) == 0 ? count : 0;
}

/// How many bytes a socket takes that has just been found writable. The kernel says so when a third of its buffer is
/// free; half of that may go to its own records.
qint64 roomToWrite(int socket)
{
    int size = 0;
    socklen_t length = sizeof size;
    return ::getsockopt(socket, SOL_SOCKET, SO_SNDBUF, &size, &length) == 0 ? size / 6 : 0;
}

int pendingError(int socket)
{
    int error = 0;
    socklen_t length = sizeof error;
    return ::getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &length) == 0 ? error : errno;
}

} // namespace

DataConnection::DataConnection(DeliveryGate& gate)
    : m_gate(gate)
{
    connect(&m_gate, &DeliveryGate::closed, this, &DataConnection::updateNotifier);
    connect(&m_gate, &DeliveryGate::opened, this, &DataConnection::updateNotifier);
}

DataConnection::~DataConnection()
{
    reset();
}

bool DataConnection::connectTo(const QHostAddress& host, quint16 port, const TlsChannel* control)
{
    if (control != nullptr) {
        TlsTransport& transport = *this;
        m_tls = std::make_unique<TlsChannel>(transport, *control);
    }
    const SocketAddress address = socketAddress(host, port);
    m_socket = ::socket(address.storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (m_socket < 0) {
        return false;
    }
    const int on = 1;
    ::setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    m_connecting = true;
    const int result = ::connect(m_socket, reinterpret_cast<const sockaddr*>(&address.storage), address.length);
    if (result != 0 && errno != EINPROGRESS) {
        closeSocket();
        QMetaObject::invokeMethod(this, &DataConnection::failed, Qt::QueuedConnection);
        return true;
    }
    watch(QSocketNotifier::Write);
    return true;
}

void DataConnection::watchForReading()
{
    watch(QSocketNotifier::Read);
}
void DataConnection::watchForWriting()
{
    watch(QSocketNotifier::Write);
}

void DataConnection::stopWatching()
{
    m_wanted = false;
    updateNotifier();
}

void DataConnection::watch(QSocketNotifier::Type type)
{
    if (m_socket < 0) {
        return;
    }
    if (m_notifier == nullptr || m_notifier->type() != type) {
        if (m_notifier != nullptr) {
            m_notifier->setEnabled(false);
            m_notifier->deleteLater();
        }
        m_notifier = new QSocketNotifier(m_socket, type, this);
        connect(m_notifier, &QSocketNotifier::activated, this, &DataConnection::activated);
    }
    m_wanted = true;
    updateNotifier();
}

void DataConnection::updateNotifier()
{
    if (m_notifier != nullptr) {
        const bool enable = m_wanted && !m_gate.isClosed();
        if (m_notifier->isEnabled() != enable) {
            m_notifier->setEnabled(enable);
        }
        readAgainIfDecrypted();
    }
}

/// What the channel has received already, the socket does not report again.
void DataConnection::readAgainIfDecrypted()
{
    const bool isDue = m_wanted && !m_gate.isClosed() && m_notifier != nullptr
        && m_notifier->type() == QSocketNotifier::Read && m_tls != nullptr && m_tls->mayHaveMore();
    if (!isDue || m_readPosted) {
        return;
    }
    m_readPosted = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_readPosted = false;
            if (m_wanted && !m_gate.isClosed() && m_notifier != nullptr
                && m_notifier->type() == QSocketNotifier::Read) {
                activated();
            }
        },
        Qt::QueuedConnection);
}

void DataConnection::activated()
{
    if (m_connecting) {
        finishConnecting();
        return;
    }
    if (m_shakingHands) {
        shakeHands();
        return;
    }
    const QSocketNotifier::Type type = m_notifier->type();
    const QDeadlineTimer turn(longestTurn, Qt::PreciseTimer);
    m_known = 0;
    bool isReady = true;
    do {
        isReady = type == QSocketNotifier::Read ? reportReadable() : reportWritable();
    } while (isReady && isWatchedFor(type) && !turn.hasExpired());
    if (type == QSocketNotifier::Write) {
        m_unacknowledged = unacknowledgedBytes();
    }
    readAgainIfDecrypted();
}

bool DataConnection::isWatchedFor(QSocketNotifier::Type type) const
{
    return m_notifier != nullptr && m_notifier->type() == type && m_notifier->isEnabled();
}

/// False when there is nothing to report.
bool DataConnection::reportReadable()
{
    const Pending found = pending();
    if (found == Pending::Nothing) {
        return false;
    }
    emit readable(found);
    return true;
}

/// False when there is nothing to report.
bool DataConnection::reportWritable()
{
    if (m_known > 0) {
        emit writable();
        return true;
    }
    pollfd state{ m_socket, POLLOUT, 0 };
    if (::poll(&state, 1, 0) <= 0) {
        return false;
    }
    if ((state.revents & POLLERR) != 0 || !flush()) {
        fail();
    } else if (!m_outgoing.isEmpty()) {
        return false; // The socket has not taken all of it yet.
    } else if (m_ending) {
        m_ending = false;
        stopWatching();
        ::shutdown(m_socket, SHUT_WR);
    } else {
        m_known = m_tls == nullptr ? roomToWrite(m_socket) : 0;
        emit writable();
    }
    return true;
}

void DataConnection::finishConnecting()
{
    m_connecting = false;
    stopWatching();
    if (pendingError(m_socket) != 0) {
        closeSocket();
        emit failed();
    } else if (m_tls != nullptr) {
        m_shakingHands = true;
        emit reached();
        shakeHands();
    } else {
        emit connected();
    }
}

void DataConnection::shakeHands()
{
    const TlsChannel::Outcome outcome = m_tls->handshake();
    if (!flush() || (outcome != TlsChannel::Outcome::Done && outcome != TlsChannel::Outcome::Waiting)) {
        m_shakingHands = false;
        fail();
    } else if (outcome == TlsChannel::Outcome::Waiting) {
        watch(m_outgoing.isEmpty() ? QSocketNotifier::Read : QSocketNotifier::Write);
    } else {
        m_shakingHands = false;
        stopWatching();
        emit connected();
    }
}

void DataConnection::fail()
{
    stopWatching();
    emit failed();
}

DataConnection::Pending DataConnection::pending()
{
    if (m_tls != nullptr) {
        switch (m_tls->peek()) {
        case TlsChannel::Outcome::Done:
            return Pending::Bytes;
        case TlsChannel::Outcome::Waiting:
            return Pending::Nothing;
        case TlsChannel::Outcome::Ended:
            return Pending::End;
        case TlsChannel::Outcome::Broken:
            return Pending::Failure;
        }
    }
    if (m_known > 0) {
        return Pending::Bytes;
    }
    m_known = bytesToRead(m_socket);
    if (m_known > 0) {
        return Pending::Bytes;
    }
    char byte = 0;
    const ssize_t count = ::recv(m_socket, &byte, 1, MSG_PEEK);
    if (count > 0) {
        return Pending::Bytes;
    }
    if (count == 0) {
        return Pending::End;
    }
    return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR ? Pending::Nothing : Pending::Failure;
}

qint64 DataConnection::read(std::span<char> buffer)
{
    if (m_tls != nullptr) {
        return readDecrypted(buffer);
    }
    ssize_t count = -1;
    do {
        count = ::recv(m_socket, buffer.data(), buffer.size(), 0);
    } while (count < 0 && errno == EINTR);
    m_known -= std::max<qint64>(count, 0);
    return count;
}

/// Reads records until the buffer is full or there are no more of them.
qint64 DataConnection::readDecrypted(std::span<char> buffer)
{
    qint64 total = 0;
    while (!buffer.empty()) {
        const TlsChannel::ReadResult result = m_tls->read(buffer);
        if (result.outcome != TlsChannel::Outcome::Done) {
            const qint64 ending = result.outcome == TlsChannel::Outcome::Ended ? 0 : -1;
            return total > 0 ? total : ending; // How it goes on is what the next read tells.
        }
        total += result.count;
        buffer = buffer.subspan(static_cast<size_t>(result.count));
    }
    return total;
}

qint64 DataConnection::write(std::span<const char> data)
{
    if (m_tls != nullptr) {
        if (!m_outgoing.isEmpty()) {
            return 0;
        }
        return m_tls->write(data) && flush() ? static_cast<qint64>(data.size()) : -1;
    }
    ssize_t count = -1;
    do {
        count = ::send(m_socket, data.data(), data.size(), MSG_NOSIGNAL);
    } while (count < 0 && errno == EINTR);
    if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
        m_known = 0;
        return 0;
    }
    m_known = count < static_cast<qint64>(data.size()) ? 0 : m_known - count; // Less than all: it is full.
    return count;
}

bool DataConnection::hasProgressed()
{
    const qint64 before = std::exchange(m_unacknowledged, unacknowledgedBytes());
    return m_unacknowledged < before;
}

qint64 DataConnection::receive(char* bytes, qint64 size)
{
    ssize_t count = -1;
    do {
        count = ::recv(m_socket, bytes, static_cast<size_t>(size), 0);
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        return errno == EAGAIN || errno == EWOULDBLOCK ? nothingYet : 0;
    }
    return count;
}

bool DataConnection::send(const char* bytes, qint64 size)
{
    m_outgoing.append(bytes, size); // Sent at one stroke when all records have been made.
    return true;
}

/// Sends what waits, as far as the socket takes it. False when that has failed.
bool DataConnection::flush()
{
    while (m_outgoingStart < m_outgoing.size()) {
        const ssize_t count = ::send(m_socket, m_outgoing.constData() + m_outgoingStart,
                                     static_cast<size_t>(m_outgoing.size() - m_outgoingStart), MSG_NOSIGNAL);
        if (count >= 0) {
            m_outgoingStart += count;
        } else if (errno != EINTR) {
            return errno == EAGAIN || errno == EWOULDBLOCK;
        }
    }
    m_outgoing.resize(0); // Keeps its memory for the next block.
    m_outgoingStart = 0;
    return true;
}

qint64 DataConnection::unacknowledgedBytes() const
{
    int count = 0;
    const bool isKnown = m_socket >= 0 && ::ioctl(m_socket, SIOCOUTQ, &count) == 0;
    return isKnown ? count + m_outgoing.size() - m_outgoingStart : 0;
}

void DataConnection::endWriting()
{
    stopWatching();
    if (m_tls != nullptr) {
        m_tls->sendClose();
        if (flush() && !m_outgoing.isEmpty()) {
            m_ending = true;
            watch(QSocketNotifier::Write);
            return;
        }
    }
    ::shutdown(m_socket, SHUT_WR);
}

void DataConnection::close()
{
    if (m_socket >= 0 && m_tls != nullptr) {
        m_tls->sendClose(); // Of no effect when it has been sent.
        flush();
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
    stopWatching();
    if (m_notifier != nullptr) {
        m_notifier->deleteLater();
        m_notifier = nullptr;
    }
    if (m_socket >= 0) {
        ::close(m_socket);
        m_socket = -1;
    }
    m_tls.reset();
    m_shakingHands = false;
    m_ending = false;
    m_outgoing.clear();
    m_outgoingStart = 0;
}
