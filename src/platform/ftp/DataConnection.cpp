#include "DataConnection.h"

#include "DeliveryGate.h"
#include "SocketAddress.h"

#include <QDeadlineTimer>

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

bool DataConnection::connectTo(const QHostAddress& host, quint16 port)
{
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
    }
}

void DataConnection::activated()
{
    if (m_connecting) {
        finishConnecting();
        return;
    }
    const QSocketNotifier::Type type = m_notifier->type();
    const QDeadlineTimer turn(longestTurn, Qt::PreciseTimer);
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
    pollfd state{ m_socket, POLLOUT, 0 };
    if (::poll(&state, 1, 0) <= 0) {
        return false;
    }
    if ((state.revents & POLLERR) != 0) {
        stopWatching();
        emit failed();
    } else {
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
    } else {
        emit connected();
    }
}

DataConnection::Pending DataConnection::pending() const
{
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
    ssize_t count = -1;
    do {
        count = ::recv(m_socket, buffer.data(), buffer.size(), 0);
    } while (count < 0 && errno == EINTR);
    return count;
}

qint64 DataConnection::write(std::span<const char> data)
{
    ssize_t count = -1;
    do {
        count = ::send(m_socket, data.data(), data.size(), MSG_NOSIGNAL);
    } while (count < 0 && errno == EINTR);
    if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
        return 0;
    }
    return count;
}

bool DataConnection::hasProgressed()
{
    const qint64 before = std::exchange(m_unacknowledged, unacknowledgedBytes());
    return m_unacknowledged < before;
}

qint64 DataConnection::unacknowledgedBytes() const
{
    int count = 0;
    return m_socket >= 0 && ::ioctl(m_socket, SIOCOUTQ, &count) == 0 ? count : 0;
}

void DataConnection::endWriting()
{
    stopWatching();
    ::shutdown(m_socket, SHUT_WR);
}

void DataConnection::close()
{
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
}
