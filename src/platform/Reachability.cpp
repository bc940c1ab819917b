#include "Reachability.h"

#include <array>
#include <cerrno>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

/// A socket to the kernel's routing tables.
class RouteSocket {
public:
    RouteSocket()
        : m_descriptor(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE))
    {
    }
    RouteSocket(const RouteSocket&) = delete;
    RouteSocket& operator=(const RouteSocket&) = delete;
    ~RouteSocket()
    {
        if (m_descriptor >= 0) {
            close(m_descriptor);
        }
    }

    /// Asks for all routes of all families.
    bool requestRoutes() const
    {
        struct {
            nlmsghdr header;
            rtmsg route;
        } request{};
        request.header.nlmsg_len = NLMSG_LENGTH(sizeof(rtmsg));
        request.header.nlmsg_type = RTM_GETROUTE;
        request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
        request.route.rtm_family = AF_UNSPEC;
        return send(m_descriptor, &request, request.header.nlmsg_len, 0) >= 0;
    }

    /// The next part of the answer, -1 when there is none. The kernel answers before the call returns, so that there
    /// is never anything to wait for.
    template <typename Buffer> ssize_t receive(Buffer& buffer) const
    {
        ssize_t count = 0;
        do {
            count = recv(m_descriptor, buffer.data(), buffer.size(), MSG_DONTWAIT);
        } while (count < 0 && errno == EINTR);
        return count;
    }

private:
    int m_descriptor;
};

bool isDefaultRoute(const nlmsghdr* header)
{
    if (header->nlmsg_type != RTM_NEWROUTE) {
        return false;
    }
    const auto* route = static_cast<const rtmsg*>(NLMSG_DATA(header));
    // Everything but unicast turns packets away: kernels hold an "unreachable" default route for IPv6 at all times.
    const bool internet = route->rtm_family == AF_INET || route->rtm_family == AF_INET6;
    return internet && route->rtm_dst_len == 0 && route->rtm_type == RTN_UNICAST;
}

} // namespace

std::optional<ReachabilityFlags> reachabilityFlags()
{
    const RouteSocket routes;
    if (!routes.requestRoutes()) {
        return std::nullopt;
    }
    alignas(nlmsghdr) std::array<char, 32768> buffer{};
    for (;;) {
        ssize_t count = routes.receive(buffer);
        if (count <= 0) {
            return std::nullopt;
        }
        const auto* header = reinterpret_cast<const nlmsghdr*>(buffer.data());
        for (; NLMSG_OK(header, count); header = NLMSG_NEXT(header, count)) {
            if (header->nlmsg_type == NLMSG_DONE) {
                return ReachabilityFlags();
            }
            if (header->nlmsg_type == NLMSG_ERROR) {
                return std::nullopt;
            }
            if (isDefaultRoute(header)) {
                return ReachabilityFlag::Reachable;
            }
        }
    }
}

bool isReachable(std::optional<ReachabilityFlags> flags)
{
    if (!flags || !flags->testFlag(ReachabilityFlag::Reachable)) {
        return false;
    }
    if (!flags->testFlag(ReachabilityFlag::ConnectionRequired)) {
        return true;
    }
    const bool comesByItself
        = flags->testAnyFlags(ReachabilityFlag::ConnectionOnTraffic | ReachabilityFlag::ConnectionOnDemand);
    return comesByItself && !flags->testFlag(ReachabilityFlag::InterventionRequired);
}
