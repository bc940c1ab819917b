#pragma once

#include <QFlags>

#include <optional>

/// What is known about the way to a host.
enum class ReachabilityFlag : quint32 {
    Transient = 1,
    Reachable = 2,
    ConnectionRequired = 4, ///< A connection must be established first.
    ConnectionOnTraffic = 8, ///< It is established by the first packet.
    InterventionRequired = 16, ///< Somebody must do something to establish it.
    ConnectionOnDemand = 32, ///< It is established when a program asks for it.
    LocalAddress = 65536,
    Direct = 131072,
};
Q_DECLARE_FLAGS(ReachabilityFlags, ReachabilityFlag)
Q_DECLARE_OPERATORS_FOR_FLAGS(ReachabilityFlags)

/// The way to hosts in general: Reachable when the kernel has a default route, IPv4 or IPv6, no flag when it has none.
/// std::nullopt when the kernel cannot be asked. Sends no packet and does not wait. Safe on any thread.
std::optional<ReachabilityFlags> reachabilityFlags();

/// Whether @p flags mean that a packet sent finds its way without anybody's help. Unknown flags mean no.
bool isReachable(std::optional<ReachabilityFlags> flags);
