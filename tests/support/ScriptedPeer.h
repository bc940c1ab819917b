#pragma once

#include "TlsServerEnd.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>

#include <memory>

/// The server's end of one connection, driven line by line by a test in the test's own thread. What is waited for and
/// does not come is an empty answer, which no expectation matches.
class PeerConnection {
public:
    explicit PeerConnection(std::unique_ptr<QTcpSocket> socket);

    /// The next command line, without its end.
    QByteArray hear();
    /// The next @p count command lines.
    QByteArrayList hear(int count);
    /// Whether nothing has come but what was heard, after everything under way had time to arrive.
    bool isSilent();
    /// Sends @p line and its end.
    void say(const QByteArray& line);
    /// Sends @p bytes as they are.
    void sendBytes(const QByteArray& bytes);

    /// All bytes up to the peer's end of the connection.
    QByteArray receiveToEnd();
    /// At least so many bytes.
    QByteArray receive(qsizetype count);

    /// Goes on in TLS; false when the client does not come to terms.
    bool startTls(const TlsServerContext& context);
    /// The TLS that startTls() began.
    const TlsServerEnd& tls() const { return *m_tls; }
    /// Says in TLS that everything has been sent. The connection stays.
    void sayClosing();

    void close();
    void reset();
    /// Whether the other side ends the connection.
    bool waitForEnd();

private:
    void takeIn();

    std::unique_ptr<QTcpSocket> m_socket;
    std::unique_ptr<TlsServerEnd> m_tls;
    QByteArray m_received;
};

/// An FTP server whose every reply is a line of the test.
class ScriptedPeer {
public:
    explicit ScriptedPeer(const QHostAddress& address = QHostAddress::LocalHost);

    quint16 port() const { return m_server.serverPort(); }
    /// The text of a location on this server.
    QString location(const QString& path) const;
    /// No connection is accepted from now on.
    void stopListening() { m_server.close(); }
    int connectionCount() const { return m_connectionCount; }

    /// Whether nobody knocks, after everything under way had time to arrive.
    bool isLeftAlone();
    /// The next connection; null when none comes.
    std::unique_ptr<PeerConnection> accept();

private:
    QTcpServer m_server;
    int m_connectionCount = 0;
};
