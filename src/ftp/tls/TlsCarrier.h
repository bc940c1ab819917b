#pragma once

#include "DataCarrier.h"
#include "TlsChannel.h"
#include "TlsTransport.h"

#include <QByteArray>

/// Encrypted bytes, in the session of the control connection. What has been encrypted and is not sent yet waits here;
/// no more is taken meanwhile.
class TlsCarrier final : public DataCarrier, private TlsTransport {
public:
    /// @p control is not needed any more when this returns.
    TlsCarrier(int socket, const TlsChannel& control);

    Handshake shakeHands() override;
    void beginTurn() override { }
    Pending pending() override;
    Space space() override;
    qint64 read(std::span<char> buffer) override;
    qint64 write(std::span<const char> data) override;
    bool mayHaveMore() const override { return m_channel.mayHaveMore(); }
    void sayEnd() override { m_channel.sendClose(); } // Of no effect when it was said.
    Flush flush() override;
    qint64 unsentBytes() const override { return m_outgoing.size() - m_outgoingStart; }

private:
    qint64 receive(char* bytes, qint64 size) override;
    bool send(const char* bytes, qint64 size) override;

    int m_socket;
    QByteArray m_outgoing; ///< Encrypted; not sent yet from m_outgoingStart on.
    qsizetype m_outgoingStart = 0;
    bool m_hasSocketEnded = false; ///< The peer has ended its side of the socket.
    TlsChannel m_channel;
};
