#include "Reachability.h"

#include "CheckRows.h"

#include <gtest/gtest.h>

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <net/route.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
namespace {

using enum ReachabilityFlag;

/// Moves this process into a network of its own that has nothing but a loopback device, and that is up.
void enterEmptyNetwork()
{
    if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
        std::perror("No private network: allow user namespaces (sysctl kernel.unprivileged_userns_clone=1)");
        _exit(100);
    }
    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    request.ifr_name[0] = 'l';
    request.ifr_name[1] = 'o';
    request.ifr_flags = IFF_UP | IFF_RUNNING;
    if (ioctl(descriptor, SIOCSIFFLAGS, &request) != 0) {
        std::perror("loopback up");
        _exit(101);
    }
    close(descriptor);
}

/// Adds a default route of @p family and @p type through the loopback device.
void addDefaultRoute(unsigned char family, unsigned char type)
{
    struct {
        nlmsghdr header;
        rtmsg route;
        rtattr attribute;
        int device;
    } request{};
    request.header.nlmsg_len = sizeof(request);
    request.header.nlmsg_type = RTM_NEWROUTE;
    request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_CREATE | NLM_F_ACK;
    request.route.rtm_family = family;
    request.route.rtm_table = RT_TABLE_MAIN;
    request.route.rtm_protocol = RTPROT_STATIC;
    request.route.rtm_scope = RT_SCOPE_UNIVERSE;
    request.route.rtm_type = type;
    request.attribute.rta_len = RTA_LENGTH(sizeof(int));
    request.attribute.rta_type = RTA_OIF;
    request.device = static_cast<int>(if_nametoindex("lo"));
    if (type != RTN_UNICAST && family == AF_INET) {
        request.header.nlmsg_len = NLMSG_LENGTH(sizeof(rtmsg));
    }
    struct {
        nlmsghdr header;
        nlmsgerr error;
        char rest[512];
    } answer{};
    const int descriptor = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    if (send(descriptor, &request, request.header.nlmsg_len, 0) < 0 || recv(descriptor, &answer, sizeof(answer), 0) < 0
        || answer.error.error != 0) {
        std::perror("default route");
        _exit(102);
    }
    close(descriptor);
}

/// The flags as the exit code of a process.
[[noreturn]] void exitWithFlags()
{
    const auto flags = reachabilityFlags();
    _exit(flags ? static_cast<int>(flags->toInt()) : 99);
}

TEST(ReachabilityDeathTest, NoRouteMeansNoFlags)
{
    EXPECT_EXIT((enterEmptyNetwork(), exitWithFlags()), testing::ExitedWithCode(0), "");
}

TEST(ReachabilityDeathTest, AnIPv4DefaultRouteMeansReachable)
{
    EXPECT_EXIT((enterEmptyNetwork(), addDefaultRoute(AF_INET, RTN_UNICAST), exitWithFlags()),
                testing::ExitedWithCode(2), "");
}

TEST(ReachabilityDeathTest, AnIPv6DefaultRouteMeansReachable)
{
    EXPECT_EXIT((enterEmptyNetwork(), addDefaultRoute(AF_INET6, RTN_UNICAST), exitWithFlags()),
                testing::ExitedWithCode(2), "");
}

TEST(ReachabilityDeathTest, ADefaultRouteThatTurnsPacketsAwayCountsForNothing)
{
    for (const unsigned char type : { RTN_UNREACHABLE, RTN_BLACKHOLE, RTN_PROHIBIT }) {
        EXPECT_EXIT((enterEmptyNetwork(), addDefaultRoute(AF_INET, type), exitWithFlags()), testing::ExitedWithCode(0),
                    "");
    }
}

TEST(ReachabilityTest, ReachableDependsOnWhoMustEstablishTheConnection)
{
    checkRows<bool(std::optional<ReachabilityFlags>)>(
        {
            { std::nullopt, false },
            { ReachabilityFlags(), false },
            { Reachable, true },
            { Transient, false },
            { ConnectionRequired, false },
            { ConnectionOnTraffic | ConnectionOnDemand, false },
            { Reachable | InterventionRequired, true },
            { Reachable | LocalAddress | Direct, true },
            { Reachable | ConnectionRequired, false },
            { Reachable | ConnectionRequired | ConnectionOnTraffic, true },
            { Reachable | ConnectionRequired | ConnectionOnDemand, true },
            { Reachable | ConnectionRequired | ConnectionOnTraffic | InterventionRequired, false },
            { Reachable | ConnectionRequired | ConnectionOnDemand | InterventionRequired, false },
            { Reachable | ConnectionRequired | InterventionRequired, false },
        },
        isReachable);
}

} // namespace
