#include "PrivateNetwork.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <net/if.h>
#include <net/route.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

PrivateNetwork::PrivateNetwork()
{
    if (::unshare(CLONE_NEWNET) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
        m_problem = QByteArray("no network of our own (ordinary users need kernel.unprivileged_userns_clone=1): ")
            + std::strerror(errno);
        return;
    }
    setUp(true);
}

void PrivateNetwork::setUp(bool isUp)
{
    const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    request.ifr_name[0] = 'l';
    request.ifr_name[1] = 'o';
    request.ifr_flags = static_cast<short>(isUp ? IFF_UP | IFF_RUNNING : 0);
    if (::ioctl(descriptor, SIOCSIFFLAGS, &request) != 0) {
        m_problem = QByteArray("the loopback device cannot be switched: ") + std::strerror(errno);
    }
    ::close(descriptor);
}

void PrivateNetwork::setDefaultRoute(bool isThere)
{
    const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    rtentry route{};
    route.rt_dst.sa_family = AF_INET;
    route.rt_genmask.sa_family = AF_INET;
    route.rt_flags = RTF_UP;
    std::array<char, IFNAMSIZ> device{ "lo" };
    route.rt_dev = device.data();
    if (::ioctl(descriptor, isThere ? SIOCADDRT : SIOCDELRT, &route) != 0) {
        m_problem = QByteArray("the default route cannot be switched: ") + std::strerror(errno);
    }
    ::close(descriptor);
}

void PrivateNetwork::nameHosts(const QByteArray& lines)
{
    const bool isWritten = m_hosts.open() && m_hosts.write(lines) == lines.size() && m_hosts.flush();
    const QByteArray path = m_hosts.fileName().toLocal8Bit();
    if (!isWritten || ::unshare(CLONE_NEWNS) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0
        || ::mount(path.constData(), "/etc/hosts", nullptr, MS_BIND, nullptr) != 0) {
        m_problem = QByteArray("hosts cannot be named: ") + std::strerror(errno);
    }
}
