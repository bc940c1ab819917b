#pragma once

#include "FTPCommand.h"
#include "FTPServerKey.h"
#include "HostConnector.h"
#include "Reply.h"
#include "ReplyParser.h"

#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QQueue>
#include <QTcpSocket>

#include <memory>
#include <optional>

class DeliveryGate;
struct ServerTraits;
class TlsChannel;
class TlsTransport;

/// Hears the replies of a control connection while it uses it, from the event loop.
class ControlConnectionUser {
public:
    /// @p reply answers @p command. A preliminary reply is followed by another one to the same command.
    virtual void replyArrived(const FTPCommand& command, const Reply& reply) = 0;
    /// A reply came that answers no command; the connection will not be used again.
    virtual void unaskedReplyArrived(const Reply& reply) = 0;
    /// The handshake that startEncryption() began is done. Nothing has been sent to the server yet: tls() has its
    /// certificate.
    virtual void encryptionStands() = 0;
    /// The connection has ended, or could not be made, or not be encrypted. Nothing follows.
    virtual void connectionLost() = 0;

protected:
    ~ControlConnectionUser() = default;
};

/// The control connection to one server with one login. Commands may be sent ahead of the replies to those before;
/// each waits in a queue until its final reply takes it off, also when its user has gone.
class ControlConnection final : public QObject {
    Q_OBJECT

public:
    /// @p traits say which of the host's addresses is tried first, or alone.
    ControlConnection(FTPServerKey key, DeliveryGate& gate, const ServerTraits& traits);
    ~ControlConnection() override; ///< Drops the connection.

    const FTPServerKey& key() const { return m_key; }

    /// Connects. The greeting arrives as the reply to FTPVerb::Greeting.
    void open();
    /// Sends @p commands together, in one write.
    void send(const QList<FTPCommand>& commands);
    /// Goes on in TLS, when the server has agreed to it (AUTH) and no reply is pending. Other bytes that have come by
    /// then are dropped: an attacker may have sent them (RFC 4217, section 15).
    void startEncryption();
    /// Sends QUIT. Further replies are ignored, and the connection lasts until the server closes it, which ended()
    /// reports, or until it is dropped.
    void quit();
    /// Ends the connection at once. Nothing is reported.
    void drop();

    /// Who hears the replies; null: nobody, and replies are ignored.
    void setUser(ControlConnectionUser* user) { m_user = user; }
    bool isInUse() const { return m_user != nullptr; }

    /// Whether a further transfer may use it once nothing is pending.
    bool isUsable() const { return m_established && !m_ended && !m_suspect && !m_closing; }
    /// Whether it has sent QUIT; it may have ended since.
    bool isClosing() const { return m_closing; }
    /// Whether replies are still to come.
    bool isPending() const { return !m_pending.isEmpty(); }
    /// Whether it cannot be made yet, since the system has run out of something.
    bool isShort() const { return m_connector.isShort(); }
    /// Whether its host has an address, as far as that has been looked up.
    bool isHostKnown() const { return m_connector.isHostKnown(); }
    /// Whether the TCP connection stands.
    bool isEstablished() const { return m_established; }
    /// Whether a transfer before the present one has used it.
    bool isReused() const { return m_reused; }
    void setReused() { m_reused = true; }
    /// Never to be used again.
    void setSuspect() { m_suspect = true; }

    /// The channel that carries commands and replies; null without encryption.
    const TlsChannel* tls() const { return m_tls.get(); }

    /// The host that data connections go to.
    QHostAddress peerAddress() const { return m_peer; }

    /// The state of the session, kept for the next user.
    struct Session {
        bool loggedIn = false;
        bool binary = false; ///< The server has accepted TYPE I.
        std::optional<QByteArray> loginFolder; ///< Absolute; std::nullopt when the server does not say.
        std::optional<QByteArray> folder; ///< The present folder as a location's path names it; std::nullopt: unknown.
    };
    Session& session() { return m_session; }
    const Session& session() const { return m_session; }

signals:
    /// The server has sent @p line: the last one of a reply, with its code, escaped like a line of the log, without the
    /// password. Not emitted while closing.
    void replied(const QString& line);
    /// The TCP connection stands.
    void established();
    /// Nothing is pending and nobody uses it. Not emitted while closing.
    void drained();
    /// It has ended while nobody used it.
    void ended();

private:
    void connectionStands();
    void socketClosed();
    void processInput();
    void beginHandshake();
    bool receive();
    bool shakeHands();
    void dispatch(Reply reply);
    QByteArray readableText(FTPVerb command, QByteArray text);
    void connectionEnded();

    FTPServerKey m_key;
    DeliveryGate& m_gate;
    HostConnector m_connector;
    std::unique_ptr<QTcpSocket> m_socket; ///< Null until the connection stands.
    std::unique_ptr<TlsTransport> m_transport; ///< Carries m_tls over m_socket.
    std::unique_ptr<TlsChannel> m_tls;
    bool m_shakingHands = false;
    QHostAddress m_peer; ///< Kept because the socket forgets it when the connection ends.
    ReplyParser m_parser;
    QQueue<FTPCommand> m_pending; ///< Sent and not yet answered finally.
    ControlConnectionUser* m_user = nullptr;
    Session m_session;
    bool m_established = false;
    bool m_ended = false;
    bool m_reused = false;
    bool m_suspect = false;
    bool m_closing = false; ///< QUIT was sent.
    bool m_repeatsPassword = false; ///< The server has repeated the password in a reply.
    bool m_isSending = false; ///< send() has not returned.
    bool m_remoteClosed = false; ///< The socket has ended; bytes that it delivered before are still read.
};
