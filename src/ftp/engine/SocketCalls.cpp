#include "SocketCalls.h"

#include <cerrno>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

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

bool canMakeSocket()
{
    const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0) {
        return errno == EAFNOSUPPORT; // That is no shortage.
    }
    ::close(descriptor);
    return true;
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
    return ::ioctl(socket, SIOCOUTQ, &count) == 0 ? count : 1; // Unknown is not acknowledged.
}

void keepAlive(int socket, std::chrono::seconds interval)
{
    const int on = 1;
    const int seconds = static_cast<int>(interval.count());
    ::setsockopt(socket, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
    ::setsockopt(socket, IPPROTO_TCP, TCP_KEEPIDLE, &seconds, sizeof seconds);
    ::setsockopt(socket, IPPROTO_TCP, TCP_KEEPINTVL, &seconds, sizeof seconds);
}

bool isOver(int socket)
{
    tcp_info info{};
    socklen_t length = sizeof info;
    return ::getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &length) != 0 || info.tcpi_state == TCP_CLOSE;
}

Writability writability(int socket)
{
    pollfd state{ socket, POLLOUT, 0 };
    if (::poll(&state, 1, 0) <= 0) {
        return Writability::Full;
    }
    return (state.revents & POLLERR) != 0 ? Writability::Failed : Writability::Writable;
}
