#include "netlink/routes.h"

#include <cerrno>

#include <linux/netconf.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include "netlink/conversation.h"

namespace vnxtest {

namespace {

constexpr std::wstring_view kAskCall = L"RTM_GETROUTE";

KernelRouteKind KindOf(int type) {
    switch (type) {
    case RTN_UNICAST:
        return KernelRouteKind::Unicast;
    case RTN_LOCAL:
        return KernelRouteKind::Local;
    case RTN_BLACKHOLE:
    case RTN_UNREACHABLE:
    case RTN_PROHIBIT:
    case RTN_THROW:
        return KernelRouteKind::Refused;
    default:
        return KernelRouteKind::Other;
    }
}

KernelRoute ToValue(rtnl_route* row) {
    KernelRoute route;
    const nl_addr* const destination = rtnl_route_get_dst(row);
    route.destination = ToIpv4(destination);
    route.mask = Ipv4Address::Mask(destination != nullptr ? nl_addr_get_prefixlen(destination) : 0);
    route.kind = KindOf(rtnl_route_get_type(row));
    route.metric = rtnl_route_get_priority(row);
    route.fromDhcp = rtnl_route_get_protocol(row) == RTPROT_DHCP;
    route.source = ToIpv4(rtnl_route_get_pref_src(row));
    for (int i = 0; route.kind != KernelRouteKind::Refused && i < rtnl_route_get_nnexthops(row); ++i) {
        rtnl_nexthop* const hop = rtnl_route_nexthop_n(row, i);
        route.nextHops.push_back({static_cast<std::uint32_t>(rtnl_route_nh_get_ifindex(hop)),
                                  ToIpv4(rtnl_route_nh_get_gateway(hop))});
    }
    return route;
}

void Append(rtnl_route* row, std::vector<KernelRoute>& routes) {
    if (rtnl_route_get_family(row) == AF_INET && rtnl_route_get_table(row) == RT_TABLE_MAIN) {
        routes.push_back(ToValue(row));
    }
}

} // namespace

Result<std::vector<KernelRoute>> ListRoutes() {
    rtmsg header{};
    header.rtm_family = AF_INET;
    return Dump<rtnl_route>(kAskCall, RTM_GETROUTE, header, Append);
}

const KernelRoute* BestDefaultRoute(const std::vector<KernelRoute>& routes) {
    const KernelRoute* best = nullptr;
    for (const KernelRoute& route : routes) {
        if (route.IsDefault() && !route.nextHops.empty() &&
            (best == nullptr || route.metric < best->metric)) {
            best = &route;
        }
    }
    return best;
}

Result<KernelRoute> FindRoute(Ipv4Address destination, std::uint32_t link) {
    constexpr std::uint8_t kWholeAddress = 32;
    rtmsg header{};
    header.rtm_family = AF_INET;
    header.rtm_dst_len = kWholeAddress;
    const NetlinkOwner<nl_msg> request = MakeRequest(RTM_GETROUTE, 0, header);
    if (request == nullptr || nla_put(request.get(), RTA_DST, 4, destination.Bytes().data()) < 0 ||
        (link != 0 && nla_put_u32(request.get(), RTA_OIF, link) < 0)) {
        return FailedCall(kAskCall, ENOMEM);
    }
    std::optional<KernelRoute> route;
    auto asked = Ask(kAskCall, request.get(),
                     [&](nl_object* object) { route = ToValue(reinterpret_cast<rtnl_route*>(object)); });
    if (!asked) {
        return PassOn(asked);
    }
    if (!route || route->nextHops.empty()) {
        return FailedCall(kAskCall, ENETUNREACH);
    }
    return std::move(*route);
}

std::optional<bool> IsForwarding() {
    netconfmsg header{};
    header.ncm_family = AF_INET;
    const NetlinkOwner<nl_msg> request = MakeRequest(RTM_GETNETCONF, 0, header);
    if (request == nullptr || nla_put_s32(request.get(), NETCONFA_IFINDEX, NETCONFA_IFINDEX_ALL) < 0) {
        return std::nullopt;
    }
    std::optional<bool> forwarding;
    Ask(L"RTM_GETNETCONF", request.get(), [&](nl_object* object) {
        int value = 0;
        if (rtnl_netconf_get_forwarding(reinterpret_cast<rtnl_netconf*>(object), &value) == 0) {
            forwarding = value != 0;
        }
    });
    return forwarding;
}

} // namespace vnxtest
