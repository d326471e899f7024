#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include <ifaddrs.h>
#include <linux/if_packet.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <netinet/in.h>
#include <netlink/msg.h>
#include <netlink/route/link.h>
#include <netlink/route/route.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include "vnetx/host/host_links.h"
#include "vnetx/host/route_netlink_linux.h"
#include "wrenlib/descriptor_linux.h"

namespace vnxtest {
namespace {

// IFF_LOWER_UP of linux/if.h, which cannot stand beside net/if.h: the carrier itself. IFF_RUNNING follows it
// by up to a second.
constexpr unsigned kLowerUp = 1u << 16;

Ipv4Address AddressOf(const sockaddr* address) {
    sockaddr_in inet{};
    std::memcpy(&inet, address, sizeof inet);
    return Ipv4Address::FromMemory(inet.sin_addr.s_addr);
}

ifreq RequestFor(std::string_view name) {
    ifreq request{};
    std::memcpy(request.ifr_name, name.data(), std::min(name.size(), sizeof request.ifr_name - 1));
    return request;
}

// Any socket will do to ask about adapters by name. Netlink's are the only ones that a running guest may make
// (platform/sandbox.h); one of netlink can send nothing to anybody else.
Descriptor SocketForRequests() {
    return Descriptor(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
}

std::uint32_t MtuOf(int socket, std::string_view name) {
    ifreq request = RequestFor(name);
    return ioctl(socket, SIOCGIFMTU, &request) == 0 ? static_cast<std::uint32_t>(request.ifr_mtu) : 0;
}

HostLink& LinkNamed(std::vector<HostLink>& links, std::string_view name) {
    // The entries of one adapter follow each other closely from the end when there are many.
    for (auto link = links.rbegin(); link != links.rend(); ++link) {
        if (link->captureName == name) {
            return *link;
        }
    }
    links.emplace_back().captureName = name;
    return links.back();
}

// Sends one route request and hands every route of the answer to `visit`.
template <typename Visit>
void AskRoutes(int flags, const rtmsg& header, std::uint32_t link, Ipv4Address destination, Visit visit) {
    const RouteNetlink socket = ConnectRouteNetlink();
    const std::unique_ptr<nl_msg, decltype(&nlmsg_free)> message(nlmsg_alloc_simple(RTM_GETROUTE, flags),
                                                                 nlmsg_free);
    if (!socket || !message) {
        return;
    }
    auto request = header;
    nlmsg_append(message.get(), &request, sizeof request, NLMSG_ALIGNTO);
    if (link != 0) {
        nla_put_u32(message.get(), RTA_OIF, link);
        nla_put(message.get(), RTA_DST, 4, destination.Bytes().data());
    }
    const auto onMessage = [](nl_msg* answer, void* argument) -> int {
        nlmsghdr* head = nlmsg_hdr(answer);
        rtnl_route* route = nullptr;
        if (head->nlmsg_type == RTM_NEWROUTE && rtnl_route_parse(head, &route) == 0) {
            (*static_cast<Visit*>(argument))(route);
            rtnl_route_put(route);
        }
        return NL_OK;
    };
    nl_socket_modify_cb(socket.get(), NL_CB_VALID, NL_CB_CUSTOM, onMessage, &visit);
    // By sendto: a running guest has no sendmsg (platform/sandbox.h).
    nl_complete_msg(socket.get(), message.get());
    if (nl_sendto(socket.get(), nlmsg_hdr(message.get()), nlmsg_hdr(message.get())->nlmsg_len) >= 0) {
        nl_recvmsgs_default(socket.get());
    }
}

} // namespace

std::vector<HostLink> ListHostLinks() {
    std::vector<HostLink> links;
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) {
        return links;
    }
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(list, freeifaddrs);
    const Descriptor socket = SocketForRequests();
    for (const ifaddrs* entry = list; entry; entry = entry->ifa_next) {
        if (!entry->ifa_addr) {
            continue;
        }
        // A secondary address may carry a label ("eth0:1") in place of the adapter's name.
        std::string_view name = entry->ifa_name;
        name = name.substr(0, name.find(':'));
        if (entry->ifa_addr->sa_family == AF_PACKET) {
            HostLink& link = LinkNamed(links, name);
            sockaddr_ll packet{};
            std::memcpy(&packet, entry->ifa_addr, sizeof packet);
            link.index = static_cast<std::uint32_t>(packet.sll_ifindex);
            if (packet.sll_halen == 6) {
                link.mac = MacAddress({packet.sll_addr[0], packet.sll_addr[1], packet.sll_addr[2],
                                       packet.sll_addr[3], packet.sll_addr[4], packet.sll_addr[5]});
            }
            link.up = (entry->ifa_flags & IFF_UP) != 0;
            link.carrier = link.up && (entry->ifa_flags & kLowerUp) != 0;
            link.loopback = (entry->ifa_flags & IFF_LOOPBACK) != 0;
            link.mtu = MtuOf(socket.Get(), name);
        } else if (entry->ifa_addr->sa_family == AF_INET) {
            HostLink& link = LinkNamed(links, name);
            const Ipv4Address mask =
                entry->ifa_netmask ? AddressOf(entry->ifa_netmask) : Ipv4Address(255, 255, 255, 255);
            link.addresses.push_back({AddressOf(entry->ifa_addr), mask});
        }
    }
    return links;
}

std::uint32_t DefaultRouteLinkIndex() {
    rtmsg header{};
    header.rtm_family = AF_INET;
    std::uint32_t index = 0;
    std::uint32_t bestPriority = 0;
    const auto visit = [&](rtnl_route* route) {
        const nl_addr* destination = rtnl_route_get_dst(route);
        if (rtnl_route_get_table(route) != RT_TABLE_MAIN || rtnl_route_get_type(route) != RTN_UNICAST ||
            (destination && nl_addr_get_prefixlen(destination) != 0)) {
            return;
        }
        rtnl_nexthop* hop = rtnl_route_nexthop_n(route, 0);
        const std::uint32_t priority = rtnl_route_get_priority(route);
        if (hop && (index == 0 || priority < bestPriority)) {
            index = static_cast<std::uint32_t>(rtnl_route_nh_get_ifindex(hop));
            bestPriority = priority;
        }
    };
    AskRoutes(NLM_F_REQUEST | NLM_F_DUMP, header, 0, Ipv4Address(), visit);
    return index;
}

bool IsPortOfAnother(std::uint32_t index) {
    const RouteNetlink socket = ConnectRouteNetlink();
    rtnl_link* link = nullptr;
    if (!socket || rtnl_link_get_kernel(socket.get(), static_cast<int>(index), nullptr, &link) != 0) {
        return false;
    }
    const std::unique_ptr<rtnl_link, decltype(&rtnl_link_put)> owner(link, rtnl_link_put);
    return rtnl_link_get_master(link) != 0;
}

int HostLinkHealth(std::uint32_t index) {
    const Descriptor socket = SocketForRequests();
    ifreq request{};
    request.ifr_ifindex = static_cast<int>(index);
    if (ioctl(socket.Get(), SIOCGIFNAME, &request) != 0) {
        return errno == ENODEV ? ENODEV : 0; // a failure to ask is no failure of the adapter
    }
    if (ioctl(socket.Get(), SIOCGIFFLAGS, &request) != 0) {
        return errno == ENODEV ? ENODEV : 0; // likewise
    }
    return (request.ifr_flags & IFF_UP) != 0 ? 0 : ENETDOWN;
}

std::optional<Ipv4Address> GatewayTowards(std::uint32_t index, Ipv4Address destination) {
    rtmsg header{};
    header.rtm_family = AF_INET;
    header.rtm_dst_len = 32;
    std::optional<Ipv4Address> gateway;
    const auto visit = [&](rtnl_route* route) {
        rtnl_nexthop* hop = rtnl_route_nexthop_n(route, 0);
        const nl_addr* via = hop ? rtnl_route_nh_get_gateway(hop) : nullptr;
        if (via && nl_addr_get_family(via) == AF_INET && nl_addr_get_len(via) == 4) {
            std::uint32_t image = 0;
            std::memcpy(&image, nl_addr_get_binary_addr(via), 4);
            gateway = Ipv4Address::FromMemory(image);
        }
    };
    AskRoutes(NLM_F_REQUEST, header, index, destination, visit);
    return gateway;
}

} // namespace vnxtest
