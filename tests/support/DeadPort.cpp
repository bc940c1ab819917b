#include "DeadPort.h"

#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

DeadPort::DeadPort(Kind kind)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof(address);
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    m_descriptors.push_back(listener);
    if (::bind(listener, generic, size) != 0 || ::getsockname(listener, generic, &size) != 0) {
        throw std::runtime_error("no port");
    }
    m_port = ntohs(address.sin_port);
    if (kind == Kind::Closed) {
        return; // Bound, so that nobody else takes it, and not listening.
    }
    ::listen(listener, 0);
    // Linux takes one more than it was asked for, and drops what comes then.
    for (int i = 0; i < 4; ++i) {
        const int filler = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        static_cast<void>(::connect(filler, generic, size)); // Under way, or taken already.
        m_descriptors.push_back(filler);
    }
}

DeadPort::~DeadPort()
{
    if (m_end.joinable()) {
        m_end.join();
    }
    giveUp();
}

void DeadPort::giveUpAfter(std::chrono::milliseconds delay)
{
    m_end = std::jthread([this, delay] {
        std::this_thread::sleep_for(delay);
        giveUp();
    });
}

void DeadPort::giveUp()
{
    for (const int descriptor : m_descriptors) {
        ::close(descriptor);
    }
    m_descriptors.clear();
}
