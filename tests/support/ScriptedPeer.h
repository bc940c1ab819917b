#pragma once

#include "TlsServerEnd.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QHostAddress>
#include <QSocketNotifier>
#include <QTcpServer>

#include <deque>
#include <memory>
#include <optional>
#include <ostream>

/// The server's end of one connection, driven line by line by a test in the test's own thread. What is waited for and
/// does not come is an empty answer, which no expectation matches. What no test asks for stays unread, so that the
/// sender stalls.
class PeerConnection {
public:
    /// Takes @p socket over.
    explicit PeerConnection(int socket);
    PeerConnection(const PeerConnection&) = delete;
    PeerConnection& operator=(const PeerConnection&) = delete;
    ~PeerConnection();

    /// The next command line, without its end.
    QByteArray hear();
    /// The next @p count command lines.
    QByteArrayList hear(int count);
    /// Whether nothing has come but what was heard, after everything under way had time to arrive.
    bool isSilent();
    /// Sends @p line and its end.
    void say(const QByteArray& line);
    /// Hears a command for each of @p replies and says it then.
    void answer(const QByteArrayList& replies);
    /// Sends @p bytes as they are.
    void sendBytes(const QByteArray& bytes);

    /// All bytes up to the peer's end of the connection.
    QByteArray receiveToEnd();
    /// At least @p count bytes. No more of them are taken from the connection; with encryption, little more.
    QByteArray receive(qsizetype count);

    /// Goes on in TLS; false when the handshake fails.
    bool startTls(const TlsServerContext& context);
    /// The TLS that startTls() began.
    const TlsServerEnd& tls() const { return *m_tls; }

    /// Says in TLS that everything has been sent. The connection stays.
    void sayClosing();
    /// Tells the other side that everything has been sent, in TLS too. What that side sends still arrives.
    void finish();
    /// The same without a word in TLS, as somebody does who cuts the line.
    void cut();
    /// Closes in good order: everything that was said arrives, and then the end.
    void close();
    void reset();

    /// From now on its TCP hears nothing, and so acknowledges nothing. What it sends still goes out.
    void stopAcknowledging();
    void acknowledgeAgain();
    /// Its TCP acknowledges everything that has come, and does not wait for more.
    void acknowledgeAtOnce();

    /// How the other side has ended the connection.
    enum class End { None, Finished, Reset };
    /// Waits for the other side's end. Not to be asked once this side has closed, which ends the connection by itself.
    End waitForEnd();
    /// How the other side has ended the connection by now.
    End end();

private:
    void takeIn(std::optional<qsizetype> most = std::nullopt);
    void send(const QByteArray& bytes);
    void flush();
    void closeSocket();
    /// Whether nothing more can come.
    bool hasEnded() const { return m_end != End::None || m_socket < 0; }

    int m_socket = -1;
    QSocketNotifier m_writable;
    std::unique_ptr<TlsServerEnd> m_tls;
    QByteArray m_received;
    QByteArray m_outgoing;
    bool m_finishing = false; ///< Nothing follows m_outgoing.
    bool m_closing = false;
    End m_end = End::None;
};

inline void PrintTo(PeerConnection::End end, std::ostream* out) // NOLINT(readability-identifier-naming)
{
    constexpr const char* names[] = { "no end", "finished", "reset" };
    *out << names[static_cast<int>(end)];
}

/// An FTP server whose every reply is a line of the test.
class ScriptedPeer {
public:
    /// Port 0 is any free one.
    explicit ScriptedPeer(const QHostAddress& address = QHostAddress::LocalHost, quint16 port = 0);

    quint16 port() const { return m_server.serverPort(); }
    /// The text of a location on this server.
    QString location(const QString& path) const;
    /// No connection is accepted from now on.
    void stopListening() { m_server.close(); }
    int connectionCount() const { return m_connectionCount; }

    /// From now on whoever knocks hears nothing, as where a packet is lost on its way.
    void stopAnswering();
    void answerAgain();

    /// Has the system take in no more than about @p size bytes that no test asks for, on connections yet to come.
    void limitReceiveBuffer(int size);

    /// Whether somebody knocks.
    bool isCalled() const { return !m_server.connections.empty(); }
    /// Whether nobody knocks, after everything under way had time to arrive.
    bool isLeftAlone();
    /// The next connection. That none comes is a failure, and the answer is one that has ended.
    std::unique_ptr<PeerConnection> accept();

private:
    class Listener final : public QTcpServer {
    public:
        std::deque<std::unique_ptr<PeerConnection>> connections;

    private:
        void incomingConnection(qintptr socket) override;
    };

    Listener m_server;
    int m_connectionCount = 0;
};
