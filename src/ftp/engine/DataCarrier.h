#pragma once

#include <QtGlobal>

#include <span>

/// How the bytes of a data connection travel over its socket: as they are, or encrypted. The socket is non-blocking,
/// connected, and belongs to the data connection, which calls a carrier only when the socket is ready.
class DataCarrier {
public:
    enum class Handshake { Done, WaitsToRead, WaitsToWrite, Failed };
    /// What a read would meet.
    enum class Pending {
        Nothing,
        Bytes,
        End, ///< The peer has ended its side and everything has been read.
        Cut, ///< The connection has ended without the word that ends encrypted data: somebody may have cut it.
        Failure,
    };
    /// What a write would meet.
    enum class Space { None, Some, Failure };
    enum class Flush { Done, Waits, Failed };

    DataCarrier() = default;
    DataCarrier(const DataCarrier&) = delete;
    DataCarrier& operator=(const DataCarrier&) = delete;
    virtual ~DataCarrier() = default;

    /// Settles with the peer what the bytes need to travel; to be called again when the socket is ready.
    virtual Handshake shakeHands() = 0;

    /// A turn of the loop begins: what the last one learnt about the socket holds no more.
    virtual void beginTurn() = 0;
    virtual Pending pending() = 0;
    virtual Space space() = 0;
    /// Bytes read, 0 at the end, -1 when nothing could be read.
    virtual qint64 read(std::span<char> buffer) = 0;
    /// Bytes taken, 0 when nothing could be taken, -1 on failure.
    virtual qint64 write(std::span<const char> data) = 0;
    /// Whether something that was received may wait here, which the socket does not report again.
    virtual bool mayHaveMore() const = 0;

    /// Says that nothing more will be written, if the bytes have a way to say that.
    virtual void sayEnd() = 0;
    /// Sends what was taken and waits here.
    virtual Flush flush() = 0;
    /// Bytes that were taken and that the socket has not.
    virtual qint64 unsentBytes() const = 0;
};
