#include "ScriptedPeer.h"

#include "WaitFor.h"

#include <sys/socket.h>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

PeerConnection::PeerConnection(std::unique_ptr<QTcpSocket> socket)
    : m_socket(std::move(socket))
{
}

QByteArray PeerConnection::hear()
{
    waitFor(
        [this] {
            takeIn();
            return m_received.contains("\r\n");
        },
        5s);
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
    waitFor([this] { return m_socket->bytesAvailable() > 0; }, 50ms);
    takeIn();
    return m_received.isEmpty();
}

void PeerConnection::takeIn()
{
    if (m_tls == nullptr) {
        m_received += m_socket->readAll();
        return;
    }
    m_tls->feed(m_socket->readAll());
    m_received += m_tls->read();
    if (const QByteArray answer = m_tls->take(); !answer.isEmpty()) {
        m_socket->write(answer);
        m_socket->flush();
    }
}

void PeerConnection::say(const QByteArray& line)
{
    sendBytes(line + "\r\n");
}

void PeerConnection::sendBytes(const QByteArray& bytes)
{
    if (m_tls != nullptr) {
        m_tls->write(bytes);
        m_socket->write(m_tls->take());
    } else {
        m_socket->write(bytes);
    }
    m_socket->flush();
}

bool PeerConnection::startTls(const TlsServerContext& context)
{
    m_tls = std::make_unique<TlsServerEnd>(context);
    return waitFor(
        [this] {
            takeIn();
            return m_tls->isReady();
        },
        5s);
}

void PeerConnection::sayClosing()
{
    m_tls->sendClose();
    m_socket->write(m_tls->take());
    m_socket->flush();
}

QByteArray PeerConnection::receiveToEnd()
{
    waitForEnd();
    return std::exchange(m_received, {});
}

QByteArray PeerConnection::receive(qsizetype count)
{
    waitFor([this, count] {
        takeIn();
        return m_received.size() >= count;
    });
    return std::exchange(m_received, {});
}

void PeerConnection::close()
{
    m_socket->disconnectFromHost();
}

void PeerConnection::reset()
{
    const linger atOnce{ 1, 0 };
    ::setsockopt(static_cast<int>(m_socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    m_socket->abort();
}

bool PeerConnection::waitForEnd()
{
    return waitFor([this] {
        takeIn();
        return m_socket->state() == QAbstractSocket::UnconnectedState;
    });
}

ScriptedPeer::ScriptedPeer(const QHostAddress& address)
{
    m_server.listen(address);
}

QString ScriptedPeer::location(const QString& path) const
{
    const QString host = m_server.serverAddress().toString();
    return u"ftp://%1:%2%3"_s.arg(host.contains(u':') ? u"[%1]"_s.arg(host) : host, QString::number(port()), path);
}

bool ScriptedPeer::isLeftAlone()
{
    return !waitFor([this] { return m_server.hasPendingConnections(); }, 50ms);
}

std::unique_ptr<PeerConnection> ScriptedPeer::accept()
{
    if (!waitFor([this] { return m_server.hasPendingConnections(); }, 5s)) {
        return nullptr;
    }
    ++m_connectionCount;
    std::unique_ptr<QTcpSocket> socket(m_server.nextPendingConnection());
    socket->setParent(nullptr);
    socket->setReadBufferSize(64 * 1024); // What no test asks for stays unread, and the sender stalls.
    return std::make_unique<PeerConnection>(std::move(socket));
}
