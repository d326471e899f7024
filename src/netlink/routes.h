// The IPv4 routes of this host as the kernel tells them, the default one among them, and the route of a
// packet.
//
// Linux only. All functions may run on any thread, ask at the call and keep nothing; those with a
// result fail with the kernel's own errno value.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "wrenlib/address.h"
#include "wrenlib/failure.h"

namespace vnxtest {

struct KernelNextHop {
    std::uint32_t link = 0; // its index
    Ipv4Address gateway;    // 0.0.0.0: the destination is on the link
};

enum class KernelRouteKind {
    Unicast,
    Local,   // leads to this host itself
    Refused, // packets are dropped or refused
    Other
};

struct KernelRoute {
    Ipv4Address destination;
    Ipv4Address mask;
    KernelRouteKind kind = KernelRouteKind::Other;
    std::uint32_t metric = 0;
    bool fromDhcp = false;               // set by the DHCP client (RTPROT_DHCP)
    Ipv4Address source;                  // preferred source address; 0.0.0.0: not told
    std::vector<KernelNextHop> nextHops; // empty if packets are refused

    bool IsDefault() const { return kind == KernelRouteKind::Unicast && mask.IsZero(); }
};

// The main table alone: the others hold the host's own addresses, or serve rules of their owners. In the
// kernel's order: by destination, of one destination the longer mask and then the lower metric first.
Result<std::vector<KernelRoute>> ListRoutes();

// The default route that the host takes: of those with the lowest metric the first, whose first next hop
// counts. Null if there is none.
const KernelRoute* BestDefaultRoute(const std::vector<KernelRoute>& routes);

// The route of a packet to `destination`, through the link of this index unless that is 0. ENETUNREACH if
// there is none; a route that refuses packets gives the kernel's errno value for it.
Result<KernelRoute> FindRoute(Ipv4Address destination, std::uint32_t link);

// Whether the host forwards packets between its links; nullopt if the kernel does not tell.
std::optional<bool> IsForwarding();

} // namespace vnxtest
