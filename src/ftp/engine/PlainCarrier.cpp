#include "PlainCarrier.h"

#include "SocketCalls.h"

#include <algorithm>
#include <cerrno>
#include <sys/socket.h>

PlainCarrier::PlainCarrier(int socket)
    : m_socket(socket)
{
}

DataCarrier::Pending PlainCarrier::pending()
{
    if (m_known > 0) {
        return Pending::Bytes;
    }
    m_known = bytesToRead(m_socket);
    if (m_known > 0) {
        return Pending::Bytes;
    }
    char byte = 0;
    const ssize_t count = ::recv(m_socket, &byte, 1, MSG_PEEK);
    if (count > 0) {
        return Pending::Bytes;
    }
    if (count == 0) {
        return Pending::End;
    }
    return wouldHaveWaited() || errno == EINTR ? Pending::Nothing : Pending::Failure;
}

DataCarrier::Space PlainCarrier::space()
{
    if (m_known > 0) {
        return Space::Some;
    }
    switch (writability(m_socket)) {
    case Writability::Full:
        return Space::None;
    case Writability::Failed:
        return Space::Failure;
    case Writability::Writable:
        m_known = roomToWrite(m_socket);
        break;
    }
    return Space::Some;
}

qint64 PlainCarrier::read(std::span<char> buffer)
{
    const qint64 count = receiveBytes(m_socket, buffer);
    m_known -= std::max<qint64>(count, 0);
    return count;
}

qint64 PlainCarrier::write(std::span<const char> data)
{
    const qint64 count = sendBytes(m_socket, data);
    if (count < 0 && wouldHaveWaited()) {
        m_known = 0;
        return 0;
    }
    m_known = count < static_cast<qint64>(data.size()) ? 0 : m_known - count; // Less than all: it is full.
    return count;
}
