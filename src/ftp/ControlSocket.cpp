#include "ControlSocket.h"

#include "TlsChannel.h"
#include "TlsTransport.h"

#include <algorithm>
#include <cerrno>
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

/// The blocking socket. Interrupted calls go on.
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

    bool open()
    {
        m_number = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        return m_number >= 0;
    }

    bool connectTo(const sockaddr_in& address) const
    {
        if (::connect(m_number, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) {
            return true;
        }
        if (errno != EINTR) {
            return false;
        }
        // An interrupted connect goes on by itself and must not be called again; its outcome is asked for instead.
        pollfd waiting{ .fd = m_number, .events = POLLOUT, .revents = 0 };
        while (poll(&waiting, 1, -1) < 0) {
            if (errno != EINTR) {
                return false;
            }
        }
        int error = 0;
        socklen_t size = sizeof(error);
        return getsockopt(m_number, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
    }

    /// Like recv(): how many bytes, 0 at the end, -1 on failure.
    qint64 read(std::span<char> buffer) const
    {
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
        while (size > 0) {
            const ssize_t sent = ::send(m_number, bytes, static_cast<size_t>(size), MSG_NOSIGNAL);
            if (sent < 0 && errno == EINTR) {
                continue;
            }
            if (sent < 0) {
                return false;
            }
            bytes += sent;
            size -= sent;
        }
        return true;
    }

private:
    int m_number = -1;
};

ControlSocket::ControlSocket()
    : m_descriptor(std::make_unique<Descriptor>())
{
}

ControlSocket::~ControlSocket() = default;

ControlSocket::Outcome ControlSocket::connect(const QByteArray& host, quint16 port)
{
    if (!m_descriptor->open()) {
        return Outcome::NoSocket;
    }
    const auto found = resolve(host);
    if (found == nullptr) {
        return Outcome::HostUnknown;
    }
    sockaddr_in address = *reinterpret_cast<const sockaddr_in*>(found->ai_addr);
    address.sin_port = htons(port);
    return m_descriptor->connectTo(address) ? Outcome::Connected : Outcome::Refused;
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
