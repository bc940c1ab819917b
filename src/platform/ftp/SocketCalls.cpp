#include "SocketCalls.h"

#include <cerrno>
#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

qint64 receiveBytes(int socket, std::span<char> buffer)
{
    ssize_t count = -1;
    do {
        count = ::recv(socket, buffer.data(), buffer.size(), 0);
    } while (count < 0 && errno == EINTR);
    return count;
}

qint64 sendBytes(int socket, std::span<const char> bytes)
{
    ssize_t count = -1;
    do {
        count = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    } while (count < 0 && errno == EINTR);
    return count;
}

bool wouldHaveWaited()
{
    return errno == EAGAIN || errno == EWOULDBLOCK;
}

int takePendingError(int socket)
{
    int error = 0;
    socklen_t length = sizeof error;
    return ::getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &length) == 0 ? error : errno;
}

qint64 bytesToRead(int socket)
{
    int count = 0;
    return ::ioctl(socket, FIONREAD, &count) == 0 ? count : 0;
}

qint64 roomToWrite(int socket)
{
    int size = 0;
    socklen_t length = sizeof size;
    return ::getsockopt(socket, SOL_SOCKET, SO_SNDBUF, &size, &length) == 0 ? size / 6 : 0;
}

qint64 unacknowledgedBytes(int socket)
{
    int count = 0;
    return ::ioctl(socket, SIOCOUTQ, &count) == 0 ? count : 0;
}

Writability writability(int socket)
{
    pollfd state{ socket, POLLOUT, 0 };
    if (::poll(&state, 1, 0) <= 0) {
        return Writability::Full;
    }
    return (state.revents & POLLERR) != 0 ? Writability::Failed : Writability::Writable;
}
