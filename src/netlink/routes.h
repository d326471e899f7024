// The IPv4 routes of this host as the kernel tells them, which of them is the default one, and which way a
// packet takes.
//
// Linux only. All functions may run on any thread, ask at the call and keep nothing; they return 0 or an
// errno value.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "wrenlib/address.h"

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
    bool fromDhcp = false;               // the DHCP client says that it is its own
    Ipv4Address source;                  // under which this host sends there; 0.0.0.0: not told
    std::vector<KernelNextHop> nextHops; // none where packets are refused

    bool IsDefault() const { return kind == KernelRouteKind::Unicast && mask.IsZero(); }
};

// The main table alone: the others hold the host's own addresses, or serve rules of their owners. In the
// kernel's order: by destination, of one destination the longer mask and then the lower metric first.
int ListRoutes(std::vector<KernelRoute>& routes);

// The default route that the host takes: of those with the lowest metric the first, whose first next hop
// counts. Null when there is none.
const KernelRoute* BestDefaultRoute(const std::vector<KernelRoute>& routes);

// The way of a packet to `destination`, through the link of this index where one is given (not 0).
// ENETUNREACH when there is none.
int FindRoute(Ipv4Address destination, std::uint32_t link, KernelRoute& route);

// Whether the host forwards packets between its links; nullopt when the kernel does not tell.
std::optional<bool> IsForwarding();

} // namespace vnxtest
