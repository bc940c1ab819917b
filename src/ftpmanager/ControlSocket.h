#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <span>

/// A blocking TCP connection through IPv4, closed when this is destroyed. Interrupted calls go on, a peer that is gone
/// raises no signal, and nothing is given up for want of time.
class ControlSocket final {
public:
    enum class Outcome {
        Connected,
        NoSocket, ///< The system gives no socket.
        HostUnknown, ///< The host's name has no IPv4 address.
        Refused, ///< Nobody answers there.
    };

    ControlSocket() = default;
    ControlSocket(const ControlSocket&) = delete;
    ControlSocket& operator=(const ControlSocket&) = delete;
    ~ControlSocket();

    /// Connects to the first address of @p host. Called once.
    [[nodiscard]] Outcome connect(const QByteArray& host, quint16 port);

    /// Sends all of @p bytes; false when the connection does not take them.
    [[nodiscard]] bool write(const QByteArray& bytes);

    /// Waits for bytes and reads up to @p buffer.size() of them; answers how many, 0 when the peer has closed the
    /// connection, -1 on failure.
    [[nodiscard]] qint64 read(std::span<char> buffer);

private:
    bool connectTo(const struct sockaddr_in& address) const;

    int m_descriptor = -1;
};
