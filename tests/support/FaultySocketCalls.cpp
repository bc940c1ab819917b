#include "FaultySocketCalls.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <set>
#include <sys/socket.h>

namespace {

enum class Call { Connect, Poll, Send, Recv };

/// Changed by the thread that connects alone, but for the descriptor, which servers in the same process ask for.
struct Faults {
    std::atomic<int> descriptor = -1; ///< Of the socket that is meant.
    bool interrupts = false;
    std::set<Call> interrupted; ///< Whose latest one was interrupted, so that the next one works.
    bool shortensSends = false;
    int sendsWithoutRoom = 0;
    std::optional<int> sendsLeft; ///< Before the connection breaks.
};

Faults& faults()
{
    static Faults current;
    return current;
}

bool isMeant(int descriptor)
{
    return descriptor == faults().descriptor;
}

/// Whether @p call is interrupted now.
bool interrupts(Call call)
{
    if (!faults().interrupts || faults().interrupted.erase(call) != 0) {
        return false;
    }
    faults().interrupted.insert(call);
    errno = EINTR;
    return true;
}

} // namespace

// The linker leads the calls to __wrap_NAME and those of __real_NAME to the system: its names, not ours.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
extern "C" {

int __real_connect(int descriptor, const sockaddr* address, socklen_t size);
int __real_poll(pollfd* descriptors, nfds_t count, int timeout);
ssize_t __real_send(int descriptor, const void* data, size_t size, int flags);
ssize_t __real_recv(int descriptor, void* data, size_t size, int flags);
int __wrap_connect(int descriptor, const sockaddr* address, socklen_t size);
int __wrap_poll(pollfd* descriptors, nfds_t count, int timeout);
ssize_t __wrap_send(int descriptor, const void* data, size_t size, int flags);
ssize_t __wrap_recv(int descriptor, void* data, size_t size, int flags);

int __wrap_connect(int descriptor, const sockaddr* address, socklen_t size)
{
    faults().descriptor = descriptor;
    if (!interrupts(Call::Connect)) {
        return __real_connect(descriptor, address, size);
    }
    const int flags = fcntl(descriptor, F_GETFL);
    fcntl(descriptor, F_SETFL, flags | O_NONBLOCK);
    __real_connect(descriptor, address, size);
    fcntl(descriptor, F_SETFL, flags);
    errno = EINTR;
    return -1;
}

int __wrap_poll(pollfd* descriptors, nfds_t count, int timeout)
{
    const bool fails = isMeant(descriptors->fd) && interrupts(Call::Poll);
    return fails ? -1 : __real_poll(descriptors, count, timeout);
}

ssize_t __wrap_send(int descriptor, const void* data, size_t size, int flags)
{
    if (!isMeant(descriptor)) {
        return __real_send(descriptor, data, size, flags);
    }
    if (interrupts(Call::Send)) {
        return -1;
    }
    if ((flags & MSG_DONTWAIT) != 0 && faults().sendsWithoutRoom > 0) {
        --faults().sendsWithoutRoom;
        errno = EAGAIN;
        return -1;
    }
    if (faults().sendsLeft && (*faults().sendsLeft)-- == 0) {
        shutdown(descriptor, SHUT_RDWR);
    }
    return __real_send(descriptor, data, faults().shortensSends ? std::min<size_t>(size, 1) : size, flags);
}

ssize_t __wrap_recv(int descriptor, void* data, size_t size, int flags)
{
    const bool fails = isMeant(descriptor) && interrupts(Call::Recv);
    return fails ? -1 : __real_recv(descriptor, data, size, flags);
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)

FaultySocketCalls::~FaultySocketCalls()
{
    faults().interrupts = false;
    faults().interrupted.clear();
    faults().shortensSends = false;
    faults().sendsWithoutRoom = 0;
    faults().sendsLeft.reset();
}

void FaultySocketCalls::interruptCalls()
{
    faults().interrupts = true;
}

void FaultySocketCalls::shortenSends()
{
    faults().shortensSends = true;
}

void FaultySocketCalls::fillBuffersFor(int count)
{
    faults().sendsWithoutRoom = count;
}

void FaultySocketCalls::breakAfterSends(int count)
{
    faults().sendsLeft = count;
}
