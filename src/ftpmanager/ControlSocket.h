#pragma once

#include "TlsTransport.h"

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <memory>
#include <span>

class TlsChannel;

/// A blocking TCP connection through IPv4, unencrypted at first, closed when this is destroyed. Interrupted calls go
/// on, a peer that is gone raises no signal, and there is no time limit.
class ControlSocket final : private TlsTransport {
public:
    enum class Outcome {
        Connected,
        NoSocket, ///< The system gives no socket.
        HostUnknown, ///< The host's name has no IPv4 address.
        Refused, ///< Nobody answers there.
    };

    ControlSocket();
    ControlSocket(const ControlSocket&) = delete;
    ControlSocket& operator=(const ControlSocket&) = delete;
    ~ControlSocket() override;

    /// Connects to the first address of @p host. Called once.
    [[nodiscard]] Outcome connect(const QByteArray& host, quint16 port);

    /// Sends all of @p bytes; false when the connection does not take them.
    [[nodiscard]] bool write(const QByteArray& bytes);

    /// Waits for bytes and reads up to @p buffer.size() of them; answers how many, 0 when the peer has closed the
    /// connection, -1 on failure. An encrypted connection that is closed without the peer's word inside the encryption
    /// is a failure: somebody may have cut it.
    [[nodiscard]] qint64 read(std::span<char> buffer);

    /// Goes on in TLS with @p host; false when the handshake fails. Its certificate remains to be judged before
    /// anything is written.
    [[nodiscard]] bool startEncryption(const QString& host);
    /// The channel of the encryption; null without.
    const TlsChannel* tls() const { return m_tls.get(); }

private:
    qint64 receive(char* bytes, qint64 size) override;
    bool send(const char* bytes, qint64 size) override;
    bool connectTo(const struct sockaddr_in& address) const;

    int m_descriptor = -1;
    std::unique_ptr<TlsChannel> m_tls;
};
