#pragma once

#include "DataCarrier.h"

/// Bytes as they are. Nothing waits here: what the socket does not take is not taken.
class PlainCarrier final : public DataCarrier {
public:
    explicit PlainCarrier(int socket);

    Handshake shakeHands() override { return Handshake::Done; }
    void beginTurn() override { m_known = 0; }
    Pending pending() override;
    Space space() override;
    qint64 read(std::span<char> buffer) override;
    qint64 write(std::span<const char> data) override;
    bool mayHaveMore() const override { return false; }
    void sayEnd() override { }
    Flush flush() override { return Flush::Done; }
    qint64 unsentBytes() const override { return 0; }

private:
    int m_socket;
    qint64 m_known = 0; ///< Bytes that can be read, or written, in this turn without another look at the socket.
};
