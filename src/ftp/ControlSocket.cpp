#include "ControlSocket.h"

#include "SocketAddress.h"
#include "SocketCalls.h"
#include "TlsChannel.h"
#include "TlsTransport.h"

#include <QDeadlineTimer>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

/// The first IPv4 address of @p host; null when it has none.
std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> resolve(const QByteArray& host)
{
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (host.contains('\0')) {
        return { found, &freeaddrinfo }; // The system would stop there and look up another host.
    }
    // Unlike gethostbyname, it may be called on many threads at once.
    if (getaddrinfo(host.constData(), nullptr, &hints, &found) != 0) {
        found = nullptr;
    }
    return { found, &freeaddrinfo };
}

} // namespace

/// The socket. Interrupted calls go on.
class ControlSocket::Descriptor final : public TlsTransport {
public:
    Descriptor() = default;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    ~Descriptor() override
    {
        if (m_number >= 0) {
            close(m_number);
        }
    }

    bool open(int family)
    {
        m_number = socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (m_number >= 0) {
            keepAlive(m_number);
        }
        return m_number >= 0;
    }

    void setTimeLimit(std::chrono::milliseconds limit) { m_end = QDeadlineTimer(limit); }
    void setSilenceLimit(std::chrono::milliseconds limit) { m_longestWait = limit.count(); }
    bool hasTimedOut() const { return m_hasTimedOut; }

    void interrupt()
    {
        m_isInterrupted = true;
        ::shutdown(m_number, SHUT_RDWR); // Wakes whoever waits.
    }

    bool connectTo(const sockaddr* address, socklen_t size)
    {
        if (m_isInterrupted) {
            return false;
        }
        // A non-blocking connect goes on by itself, as an interrupted one does; neither must be called again.
        setNonBlocking(isLimited());
        if (::connect(m_number, address, size) == 0) {
            setNonBlocking(false);
            return true;
        }
        if (errno != EINTR && errno != EINPROGRESS) {
            return false;
        }
        int error = 0;
        socklen_t sizeOfError = sizeof(error);
        if (!waitFor(POLLOUT) || getsockopt(m_number, SOL_SOCKET, SO_ERROR, &error, &sizeOfError) != 0 || error != 0) {
            return false;
        }
        setNonBlocking(false);
        return true;
    }

    /// Like recv(): how many bytes, 0 at the end, -1 on failure.
    qint64 read(std::span<char> buffer)
    {
        if (isLimited() && !waitFor(POLLIN)) {
            return -1;
        }
        ssize_t count = 0;
        do {
            count = recv(m_number, buffer.data(), buffer.size(), 0);
        } while (count < 0 && errno == EINTR);
        return count;
    }

    qint64 receive(char* bytes, qint64 size) override
    {
        return std::max(qint64(0), read(std::span(bytes, static_cast<size_t>(size))));
    }

    bool send(const char* bytes, qint64 size) override
    {
        const int flags = MSG_NOSIGNAL | (isLimited() ? MSG_DONTWAIT : 0);
        while (size > 0) {
            if (isLimited() && !waitFor(POLLOUT)) {
                return false;
            }
            const ssize_t sent = ::send(m_number, bytes, static_cast<size_t>(size), flags);
            if (sent >= 0) {
                bytes += sent;
                size -= sent;
            } else if (errno != EINTR && (!wouldHaveWaited() || isTimeOver())) {
                return false;
            }
        }
        return true;
    }

private:
    void setNonBlocking(bool isNonBlocking) const
    {
        const int flags = fcntl(m_number, F_GETFL);
        fcntl(m_number, F_SETFL, isNonBlocking ? flags | O_NONBLOCK : flags & ~O_NONBLOCK);
    }

    bool isLimited() const { return !m_end.isForever() || m_longestWait < std::numeric_limits<int>::max(); }

    bool isTimeOver()
    {
        m_hasTimedOut = m_end.hasExpired();
        return m_hasTimedOut;
    }

    /// Waits for @p events; false when the time is over.
    bool waitFor(short events)
    {
        pollfd waiting{ .fd = m_number, .events = events, .revents = 0 };
        while (true) {
            const qint64 left = m_end.isForever() ? m_longestWait : std::min(m_end.remainingTime(), m_longestWait);
            const int count = poll(&waiting, 1, static_cast<int>(left));
            if (count > 0) {
                return true;
            }
            if (count == 0) {
                m_hasTimedOut = true;
                return false;
            }
            if (errno != EINTR) {
                return false;
            }
        }
    }

    std::atomic<int> m_number = -1;
    std::atomic<bool> m_isInterrupted = false;
    QDeadlineTimer m_end{ QDeadlineTimer::Forever };
    qint64 m_longestWait = std::numeric_limits<int>::max(); ///< In milliseconds.
    bool m_hasTimedOut = false;
};

ControlSocket::ControlSocket()
    : m_descriptor(std::make_unique<Descriptor>())
{
}

ControlSocket::~ControlSocket() = default;

void ControlSocket::setTimeLimit(std::chrono::milliseconds limit)
{
    m_descriptor->setTimeLimit(limit);
}

void ControlSocket::setSilenceLimit(std::chrono::milliseconds limit)
{
    m_descriptor->setSilenceLimit(limit);
}

bool ControlSocket::hasTimedOut() const
{
    return m_descriptor->hasTimedOut();
}

void ControlSocket::interrupt()
{
    m_descriptor->interrupt();
}

ControlSocket::Outcome ControlSocket::connect(const QByteArray& host, quint16 port)
{
    if (!m_descriptor->open(AF_INET)) {
        return Outcome::NoSocket;
    }
    const auto found = resolve(host);
    if (found == nullptr) {
        return Outcome::HostUnknown;
    }
    sockaddr_in address = *reinterpret_cast<const sockaddr_in*>(found->ai_addr);
    address.sin_port = htons(port);
    return outcomeOfConnect(reinterpret_cast<const sockaddr*>(&address), sizeof(address));
}

ControlSocket::Outcome ControlSocket::connect(const QHostAddress& address, quint16 port)
{
    const SocketAddress target = socketAddress(address, port);
    if (!m_descriptor->open(target.storage.ss_family)) {
        return Outcome::NoSocket;
    }
    return outcomeOfConnect(reinterpret_cast<const sockaddr*>(&target.storage), target.length);
}

ControlSocket::Outcome ControlSocket::outcomeOfConnect(const sockaddr* address, quint32 size)
{
    return m_descriptor->connectTo(address, size) ? Outcome::Connected : Outcome::Refused;
}

bool ControlSocket::startEncryption(const QString& host)
{
    m_tls = std::make_unique<TlsChannel>(*m_descriptor, host);
    return m_tls->handshake() == TlsChannel::Outcome::Done;
}

ServerCertificate ControlSocket::certificate() const
{
    return m_tls != nullptr ? m_tls->certificate() : ServerCertificate{};
}

bool ControlSocket::write(const QByteArray& bytes)
{
    return m_tls != nullptr ? m_tls->write(bytes) : m_descriptor->send(bytes.constData(), bytes.size());
}

qint64 ControlSocket::read(std::span<char> buffer)
{
    if (m_tls == nullptr) {
        return m_descriptor->read(buffer);
    }
    const TlsChannel::ReadResult result = m_tls->read(buffer);
    switch (result.outcome) {
    case TlsChannel::Outcome::Done:
        return result.count;
    case TlsChannel::Outcome::Ended:
        return 0;
    case TlsChannel::Outcome::Waiting: // The transport never has nothing yet.
    case TlsChannel::Outcome::Broken:
        break;
    }
    return -1;
}
