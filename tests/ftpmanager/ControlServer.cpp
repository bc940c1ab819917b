#include "ControlServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>
#include <vector>

void ControlPeer::send(const QByteArray& bytes)
{
    if (m_tls == nullptr) {
        sendRaw(bytes);
        return;
    }
    m_tls->write(bytes);
    sendRaw(m_tls->take());
}

void ControlPeer::sendRaw(const QByteArray& bytes)
{
    qsizetype sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count
            = ::send(m_descriptor, bytes.constData() + sent, static_cast<size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (count <= 0) {
            return;
        }
        sent += count;
    }
}

QByteArray ControlPeer::receiveRaw()
{
    char buffer[4096];
    const ssize_t count = recv(m_descriptor, buffer, sizeof(buffer), 0);
    return QByteArray(buffer, std::max<ssize_t>(count, 0));
}

void ControlPeer::receiveUntil(const QByteArray& end)
{
    while (!m_received.endsWith(end)) {
        const QByteArray bytes = receiveRaw();
        if (bytes.isEmpty()) {
            return;
        }
        if (m_tls == nullptr) {
            m_received.append(bytes);
        } else {
            m_tls->feed(bytes);
            m_received.append(m_tls->read());
        }
    }
}

bool ControlPeer::startTls(const TlsServerContext& context)
{
    m_tls = std::make_unique<TlsServerEnd>(context);
    while (!m_tls->isReady()) {
        const QByteArray bytes = receiveRaw();
        m_tls->feed(bytes);
        sendRaw(m_tls->take());
        if (bytes.isEmpty()) {
            return false;
        }
    }
    m_received.append(m_tls->read());
    return true;
}

void ControlPeer::sayClosing()
{
    m_tls->sendClose();
    sendRaw(m_tls->take());
}

void ControlPeer::resetOnClose()
{
    const linger reset{ .l_onoff = 1, .l_linger = 0 };
    setsockopt(m_descriptor, SOL_SOCKET, SO_LINGER, &reset, sizeof(reset));
}

ControlServer::ControlServer(std::function<void(ControlPeer&)> script, Family family)
    : m_script(std::move(script))
    , m_listener(socket(family == Family::IPv4 ? AF_INET : AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sockaddr_in6 longAddress{};
    longAddress.sin6_family = AF_INET6;
    longAddress.sin6_addr = in6addr_loopback;
    const bool isShort = family == Family::IPv4;
    auto* const bound = isShort ? reinterpret_cast<sockaddr*>(&address) : reinterpret_cast<sockaddr*>(&longAddress);
    socklen_t size = isShort ? sizeof(address) : sizeof(longAddress);
    EXPECT_EQ(bind(m_listener, bound, size), 0);
    EXPECT_EQ(listen(m_listener, 64), 0);
    getsockname(m_listener, bound, &size);
    m_port = ntohs(isShort ? address.sin_port : longAddress.sin6_port);
    m_thread = std::thread(&ControlServer::run, this);
}

ControlServer::~ControlServer()
{
    close();
}

void ControlServer::close()
{
    if (m_thread.joinable()) {
        shutdown(m_listener, SHUT_RDWR);
        m_thread.join();
        ::close(m_listener);
    }
}

QList<QByteArray> ControlServer::received()
{
    const std::lock_guard lock(m_mutex);
    return m_received;
}

void ControlServer::run()
{
    std::vector<std::thread> clients;
    while (true) {
        const int descriptor = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (descriptor < 0) {
            break;
        }
        clients.emplace_back(&ControlServer::play, this, descriptor);
    }
    for (std::thread& client : clients) {
        client.join();
    }
}

void ControlServer::play(int descriptor)
{
    ControlPeer peer(descriptor);
    m_script(peer);
    {
        const std::lock_guard lock(m_mutex);
        m_received.append(peer.received());
    }
    ::close(descriptor);
}
