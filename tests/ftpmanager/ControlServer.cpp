#include "ControlServer.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>
#include <vector>

void ControlPeer::send(const QByteArray& bytes)
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

void ControlPeer::receiveUntil(const QByteArray& end)
{
    char buffer[4096];
    while (!m_received.endsWith(end)) {
        const ssize_t count = recv(m_descriptor, buffer, sizeof(buffer), 0);
        if (count <= 0) {
            return;
        }
        m_received.append(buffer, count);
    }
}

void ControlPeer::resetOnClose()
{
    const linger reset{ .l_onoff = 1, .l_linger = 0 };
    setsockopt(m_descriptor, SOL_SOCKET, SO_LINGER, &reset, sizeof(reset));
}

ControlServer::ControlServer(std::function<void(ControlPeer&)> script)
    : m_script(std::move(script))
    , m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    EXPECT_EQ(bind(m_listener, reinterpret_cast<const sockaddr*>(&address), size), 0);
    EXPECT_EQ(listen(m_listener, 64), 0);
    getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size);
    m_port = ntohs(address.sin_port);
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
