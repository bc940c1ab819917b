#include "TlsCarrier.h"

#include "SocketCalls.h"

TlsCarrier::TlsCarrier(int socket, const TlsChannel& control)
    : m_socket(socket)
    , m_channel(static_cast<TlsTransport&>(*this), control)
{
}

DataCarrier::Handshake TlsCarrier::shakeHands()
{
    const TlsChannel::Outcome outcome = m_channel.handshake();
    const Flush flushed = flush();
    if (flushed == Flush::Failed) {
        return Handshake::Failed;
    }
    switch (outcome) {
    case TlsChannel::Outcome::Done:
        return Handshake::Done;
    case TlsChannel::Outcome::Waiting:
        return flushed == Flush::Done ? Handshake::WaitsToRead : Handshake::WaitsToWrite;
    case TlsChannel::Outcome::Ended:
    case TlsChannel::Outcome::Broken:
        break;
    }
    return Handshake::Failed;
}

DataCarrier::Pending TlsCarrier::pending()
{
    switch (m_channel.peek()) {
    case TlsChannel::Outcome::Done:
        return Pending::Bytes;
    case TlsChannel::Outcome::Waiting:
        return Pending::Nothing;
    case TlsChannel::Outcome::Ended:
        return Pending::End;
    case TlsChannel::Outcome::Broken:
        break;
    }
    return m_hasSocketEnded ? Pending::Cut : Pending::Failure;
}

DataCarrier::Space TlsCarrier::space()
{
    const Writability room = writability(m_socket);
    if (room == Writability::Failed) {
        return Space::Failure;
    }
    const Flush flushed = room == Writability::Writable ? flush() : Flush::Waits;
    if (flushed == Flush::Failed) {
        return Space::Failure;
    }
    return flushed == Flush::Done ? Space::Some : Space::None;
}

/// Reads records until the buffer is full or there are no more of them.
qint64 TlsCarrier::read(std::span<char> buffer)
{
    qint64 total = 0;
    while (!buffer.empty()) {
        const TlsChannel::ReadResult result = m_channel.read(buffer);
        if (result.outcome != TlsChannel::Outcome::Done) {
            const qint64 ending = result.outcome == TlsChannel::Outcome::Ended ? 0 : -1;
            return total > 0 ? total : ending; // How it goes on is what the next read tells.
        }
        total += result.count;
        buffer = buffer.subspan(static_cast<size_t>(result.count));
    }
    return total;
}

qint64 TlsCarrier::write(std::span<const char> data)
{
    if (unsentBytes() > 0) {
        return 0;
    }
    return m_channel.write(data) && flush() != Flush::Failed ? static_cast<qint64>(data.size()) : -1;
}

DataCarrier::Flush TlsCarrier::flush()
{
    while (unsentBytes() > 0) {
        const qint64 count = sendBytes(m_socket, std::span(m_outgoing).subspan(static_cast<size_t>(m_outgoingStart)));
        if (count < 0) {
            return wouldHaveWaited() ? Flush::Waits : Flush::Failed;
        }
        m_outgoingStart += count;
    }
    m_outgoing.resize(0); // Keeps its memory for the next block.
    m_outgoingStart = 0;
    return Flush::Done;
}

qint64 TlsCarrier::receive(char* bytes, qint64 size)
{
    const qint64 count = receiveBytes(m_socket, std::span(bytes, static_cast<size_t>(size)));
    if (count < 0) {
        return wouldHaveWaited() ? nothingYet : 0;
    }
    m_hasSocketEnded = count == 0;
    return count;
}

bool TlsCarrier::send(const char* bytes, qint64 size)
{
    m_outgoing.append(bytes, size); // Sent together when all records have been made.
    return true;
}
