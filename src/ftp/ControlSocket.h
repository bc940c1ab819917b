#pragma once

#include "ServerCertificate.h"

#include <QByteArray>
#include <QHostAddress>
#include <QString>
#include <QtGlobal>

#include <chrono>
#include <memory>
#include <span>

class TlsChannel;

/// A blocking TCP connection, unencrypted at first, closed when this is destroyed. Interrupted calls go on, a peer that
/// is gone raises no signal, and there is no time limit unless one is set.
class ControlSocket final {
public:
    enum class Outcome {
        Connected,
        NoSocket, ///< The system gives no socket.
        HostUnknown, ///< The host's name has no IPv4 address.
        Refused, ///< Nobody answers there, or not in time.
    };

    ControlSocket();
    ControlSocket(const ControlSocket&) = delete;
    ControlSocket& operator=(const ControlSocket&) = delete;
    ~ControlSocket();

    /// Lets connect(), without the look-up of a host, and all that follows take @p limit together: what would wait
    /// longer fails.
    void setTimeLimit(std::chrono::milliseconds limit);
    /// Lets each wait for the peer take @p limit at most. Likewise.
    void setSilenceLimit(std::chrono::milliseconds limit);
    /// Whether something has failed because the time was over.
    bool hasTimedOut() const;

    /// Connects to the first IPv4 address of @p host. Called once.
    [[nodiscard]] Outcome connect(const QByteArray& host, quint16 port);
    /// Connects to @p address, through IPv4 or IPv6. Called once, instead.
    [[nodiscard]] Outcome connect(const QHostAddress& address, quint16 port);

    /// Has all that waits for the peer, and all that would, fail. Safe from any thread.
    void interrupt();

    /// Sends all of @p bytes; false when the connection does not take them.
    [[nodiscard]] bool write(const QByteArray& bytes);

    /// Waits for bytes and reads up to @p buffer.size() of them; answers how many, 0 when the peer has closed the
    /// connection, -1 on failure. An encrypted connection that is closed without the peer's word inside the encryption
    /// is a failure: somebody may have cut it.
    [[nodiscard]] qint64 read(std::span<char> buffer);

    /// Goes on in TLS with @p host; false when the handshake fails. Its certificate remains to be judged before
    /// anything is written.
    [[nodiscard]] bool startEncryption(const QString& host);
    bool isEncrypted() const { return m_tls != nullptr; }
    /// The peer's certificate; known once startEncryption() has answered true.
    ServerCertificate certificate() const;

private:
    class Descriptor;

    Outcome outcomeOfConnect(const struct sockaddr* address, quint32 size);

    std::unique_ptr<Descriptor> m_descriptor;
    std::unique_ptr<TlsChannel> m_tls; ///< Uses the descriptor.
};
