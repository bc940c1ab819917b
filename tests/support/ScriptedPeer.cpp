#include "ScriptedPeer.h"

#include "WaitFor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <linux/filter.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// The most bytes that a TLS record takes on the way; nothing of it can be read before all have come.
constexpr qsizetype largestRecord = 5 + 16384 + 256;

/// From now on the system drops whatever comes to @p socket.
void dropPackets(int socket)
{
    sock_filter dropAll = BPF_STMT(BPF_RET | BPF_K, 0);
    const sock_fprog program{ 1, &dropAll };
    ::setsockopt(socket, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program);
}

void takePacketsAgain(int socket)
{
    const int unused = 0;
    ::setsockopt(socket, SOL_SOCKET, SO_DETACH_FILTER, &unused, sizeof unused);
}

} // namespace

PeerConnection::PeerConnection(int socket)
    : m_socket(socket)
    , m_writable(socket, QSocketNotifier::Write)
{
    ::fcntl(m_socket, F_SETFL, O_NONBLOCK);
    const int on = 1;
    ::setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    m_writable.setEnabled(false);
    QObject::connect(&m_writable, &QSocketNotifier::activated, &m_writable, [this] { flush(); });
}

PeerConnection::~PeerConnection()
{
    closeSocket();
}

QByteArray PeerConnection::hear()
{
    waitFor([this] {
        takeIn();
        return m_received.contains("\r\n") || hasEnded();
    });
    const qsizetype end = m_received.indexOf("\r\n");
    if (end < 0) {
        return {};
    }
    const QByteArray line = m_received.first(end);
    m_received.remove(0, end + 2);
    return line;
}

QByteArrayList PeerConnection::hear(int count)
{
    QByteArrayList lines;
    for (int i = 0; i < count; ++i) {
        lines.append(hear());
    }
    return lines;
}

bool PeerConnection::isSilent()
{
    return !waitFor(
        [this] {
            takeIn();
            return !m_received.isEmpty();
        },
        50ms);
}

/// Reads what has come, at most so many bytes of the connection.
void PeerConnection::takeIn(std::optional<qsizetype> most)
{
    QByteArray bytes;
    std::array<char, 65536> buffer;
    while (m_socket >= 0 && m_end == End::None && (!most || bytes.size() < *most)) {
        const qsizetype room = static_cast<qsizetype>(buffer.size());
        const qsizetype wanted = most ? std::min(room, *most - bytes.size()) : room;
        const ssize_t count = ::recv(m_socket, buffer.data(), static_cast<size_t>(wanted), 0);
        if (count > 0) {
            bytes.append(buffer.data(), count);
        } else if (count == 0) {
            m_end = End::Finished;
        } else if (errno == EAGAIN) {
            break;
        } else {
            m_end = End::Reset;
        }
    }
    if (m_tls == nullptr) {
        m_received += bytes;
        return;
    }
    m_tls->feed(bytes);
    m_received += m_tls->read();
    if (const QByteArray answer = m_tls->take(); !answer.isEmpty()) {
        send(answer);
    }
}

void PeerConnection::say(const QByteArray& line)
{
    sendBytes(line + "\r\n");
}

void PeerConnection::answer(const QByteArrayList& replies)
{
    for (const QByteArray& reply : replies) {
        EXPECT_NE(hear(), "") << "before " << reply.constData();
        say(reply);
    }
}

void PeerConnection::sendBytes(const QByteArray& bytes)
{
    if (m_tls != nullptr) {
        m_tls->write(bytes);
        send(m_tls->take());
    } else {
        send(bytes);
    }
}

void PeerConnection::send(const QByteArray& bytes)
{
    m_outgoing += bytes;
    flush();
}

/// Sends what the socket takes; the rest follows from the loop.
void PeerConnection::flush()
{
    if (m_socket < 0) {
        return;
    }
    while (!m_outgoing.isEmpty()) {
        const ssize_t count
            = ::send(m_socket, m_outgoing.constData(), static_cast<size_t>(m_outgoing.size()), MSG_NOSIGNAL);
        if (count < 0 && errno == EAGAIN) {
            m_writable.setEnabled(true);
            return;
        }
        if (count < 0 && errno == ECONNRESET) {
            m_end = End::Reset; // The system says so only once.
        }
        m_outgoing.remove(0, count < 0 ? m_outgoing.size() : count);
    }
    m_writable.setEnabled(false);
    if (std::exchange(m_closing, false)) {
        takeIn(); // The system makes a reset of an end in front of which something was left unread.
        closeSocket();
    } else if (m_finishing) {
        ::shutdown(m_socket, SHUT_WR);
    }
}

bool PeerConnection::startTls(const TlsServerContext& context)
{
    m_tls = std::make_unique<TlsServerEnd>(context);
    static constexpr qsizetype littleMore = 256; // What follows the handshake at once stays where it is.
    waitFor([this] {
        takeIn(littleMore);
        return m_tls->isReady() || hasEnded();
    });
    return m_tls->isReady();
}

QByteArray PeerConnection::receiveToEnd()
{
    waitForEnd();
    return std::exchange(m_received, {});
}

QByteArray PeerConnection::receive(qsizetype count)
{
    waitFor([this, count] {
        const qsizetype missing = count - m_received.size();
        takeIn(m_tls != nullptr ? missing + largestRecord : missing);
        return m_received.size() >= count || hasEnded();
    });
    return std::exchange(m_received, {});
}

void PeerConnection::sayClosing()
{
    m_tls->sendClose();
    send(m_tls->take());
}

void PeerConnection::finish()
{
    if (m_tls != nullptr) {
        sayClosing();
    }
    cut();
}

void PeerConnection::cut()
{
    m_finishing = true;
    flush();
}

void PeerConnection::close()
{
    finish();
    m_closing = true;
    flush();
}

void PeerConnection::reset()
{
    const linger atOnce{ 1, 0 };
    ::setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    closeSocket();
}

void PeerConnection::closeSocket()
{
    m_writable.setEnabled(false);
    if (m_socket >= 0) {
        ::close(std::exchange(m_socket, -1));
    }
}

PeerConnection::End PeerConnection::waitForEnd()
{
    waitFor([this] { return end() != End::None || m_socket < 0; });
    return m_end;
}

PeerConnection::End PeerConnection::end()
{
    EXPECT_GE(m_socket, 0) << "this side has closed";
    takeIn();
    return m_end;
}

ScriptedPeer::ScriptedPeer(const QHostAddress& address, quint16 port)
{
    EXPECT_TRUE(m_server.listen(address, port)) << port;
}

QString ScriptedPeer::location(const QString& path) const
{
    const QString host = m_server.serverAddress().toString();
    return u"ftp://%1:%2%3"_s.arg(host.contains(u':') ? u"[%1]"_s.arg(host) : host, QString::number(port()), path);
}

void ScriptedPeer::Listener::incomingConnection(qintptr socket)
{
    connections.push_back(std::make_unique<PeerConnection>(static_cast<int>(socket)));
}

void ScriptedPeer::limitReceiveBuffer(int size)
{
    ::setsockopt(static_cast<int>(m_server.socketDescriptor()), SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
}

void ScriptedPeer::stopAnswering()
{
    dropPackets(static_cast<int>(m_server.socketDescriptor()));
}

void ScriptedPeer::answerAgain()
{
    takePacketsAgain(static_cast<int>(m_server.socketDescriptor()));
}

bool ScriptedPeer::isLeftAlone()
{
    return !waitFor([this] { return isCalled(); }, 50ms);
}

void PeerConnection::stopAcknowledging()
{
    dropPackets(m_socket);
}

void PeerConnection::acknowledgeAtOnce()
{
    const int on = 1;
    ::setsockopt(m_socket, IPPROTO_TCP, TCP_QUICKACK, &on, sizeof on);
}

void PeerConnection::acknowledgeAgain()
{
    takePacketsAgain(m_socket);
}

std::unique_ptr<PeerConnection> ScriptedPeer::accept()
{
    if (!waitFor([this] { return isCalled(); })) {
        ADD_FAILURE() << "no connection";
        return std::make_unique<PeerConnection>(-1);
    }
    ++m_connectionCount;
    std::unique_ptr<PeerConnection> connection = std::move(m_server.connections.front());
    m_server.connections.pop_front();
    return connection;
}
