#include "TextClient.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int patienceMs = 20'000;

} // namespace

TextClient::TextClient(quint16 port)
{
    m_socket.connectToHost(u"127.0.0.1"_s, port);
    m_socket.waitForConnected(patienceMs);
}

QByteArray TextClient::hear()
{
    while (!m_socket.canReadLine() && m_socket.waitForReadyRead(patienceMs)) { }
    return m_socket.readLine().trimmed();
}

void TextClient::say(const QByteArray& line)
{
    m_socket.write(line + "\r\n");
    m_socket.waitForBytesWritten(patienceMs);
}

QByteArray TextClient::ask(const QByteArray& line)
{
    say(line);
    return hear();
}

void TextClient::logIn()
{
    hear();
    ask("USER anna");
    ask("PASS secret");
}

QByteArray TextClient::store(const QByteArray& name, const QByteArray& content)
{
    const QByteArray reply = ask("EPSV");
    QTcpSocket data;
    data.connectToHost(u"127.0.0.1"_s, reply.mid(reply.indexOf("|||") + 3).chopped(2).toUShort());
    ask("STOR " + name);
    data.write(content);
    data.disconnectFromHost();
    if (data.state() != QTcpSocket::UnconnectedState) {
        data.waitForDisconnected(patienceMs);
    }
    return hear();
}
