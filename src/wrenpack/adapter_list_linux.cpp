#include "wrenpack/adapter_list_linux.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <unordered_map>
#include <utility>

#include <linux/rtnetlink.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <netlink/errno.h>
#include <netlink/netlink.h>
#include <netlink/route/addr.h>
#include <netlink/route/link.h>
#include <netlink/route/link/vlan.h>
#include <netlink/route/route.h>
#include <sys/socket.h>

#include "wrenlib/adapter_rank.h"
#include "wrenlib/text.h"
#include "wrenpack/dhcp_linux.h"
#include "wrenpack/ethtool_linux.h"
#include "wrenpack/promiscuous_linux.h"

namespace vnxtest {

namespace {

using Cache = std::unique_ptr<nl_cache, decltype(&nl_cache_free)>;

constexpr std::uint32_t kNdisMedium802_3 = 0;
constexpr std::uint32_t kEthernetHeader = 14;
constexpr std::uint64_t kSpeedUnitsOfMegabit = 10000; // 100 bit/s

// What addresses and routes say of one link.
struct LinkAddresses {
    std::uint32_t address = 0;
    unsigned prefixLength = 0;
    std::uint32_t gateway = 0;
    std::uint32_t gatewayMetric = 0;
    bool dhcp = false;
};
using AddressesByLink = std::unordered_map<int, LinkAddresses>;

// The link of the host's best default route.
struct DefaultRoute {
    int link = 0; // 0: there is none
    std::uint32_t metric = 0;
};

template <typename Row, typename Visit>
void ForEach(nl_cache* cache, Visit visit) {
    for (nl_object* object = nl_cache_get_first(cache); object != nullptr;
         object = nl_cache_get_next(object)) {
        visit(reinterpret_cast<Row*>(object));
    }
}

// The four bytes of an IPv4 address as they stand in memory; 0 when it is none.
std::uint32_t MemoryOf(nl_addr* address) {
    std::uint32_t image = 0;
    if (address != nullptr && nl_addr_get_family(address) == AF_INET &&
        nl_addr_get_len(address) == sizeof image) {
        std::memcpy(&image, nl_addr_get_binary_addr(address), sizeof image);
    }
    return image;
}

void TakeAddress(rtnl_addr* row, AddressesByLink& links) {
    if (rtnl_addr_get_family(row) != AF_INET) {
        return;
    }
    LinkAddresses& link = links[rtnl_addr_get_ifindex(row)];
    // IPv4 knows no other way than DHCP to an address that expires.
    link.dhcp = link.dhcp || (rtnl_addr_get_flags(row) & IFA_F_PERMANENT) == 0;
    if (link.address == 0) {
        link.address = MemoryOf(rtnl_addr_get_local(row));
        link.prefixLength = static_cast<unsigned>(rtnl_addr_get_prefixlen(row));
    }
}

// The gateway of an adapter is the next hop of its default route with the lowest metric.
void TakeRoute(rtnl_route* route, AddressesByLink& links, DefaultRoute& best) {
    if (rtnl_route_get_table(route) != RT_TABLE_MAIN || rtnl_route_get_type(route) != RTN_UNICAST) {
        return;
    }
    nl_addr* destination = rtnl_route_get_dst(route);
    const bool isDefault = destination == nullptr || nl_addr_get_prefixlen(destination) == 0;
    const std::uint32_t metric = rtnl_route_get_priority(route);
    for (int i = 0; i < rtnl_route_get_nnexthops(route); ++i) {
        rtnl_nexthop* nextHop = rtnl_route_nexthop_n(route, i);
        LinkAddresses& link = links[rtnl_route_nh_get_ifindex(nextHop)];
        if (isDefault && i == 0 && (best.link == 0 || metric < best.metric)) {
            best = {rtnl_route_nh_get_ifindex(nextHop), metric};
        }
        link.dhcp = link.dhcp || rtnl_route_get_protocol(route) == RTPROT_DHCP;
        const std::uint32_t gateway = MemoryOf(rtnl_route_nh_get_gateway(nextHop));
        if (isDefault && gateway != 0 && (link.gateway == 0 || metric < link.gatewayMetric)) {
            link.gateway = gateway;
            link.gatewayMetric = metric;
        }
    }
}

bool IsEthernetLike(rtnl_link* link) {
    nl_addr* mac = rtnl_link_get_addr(link);
    return rtnl_link_get_arptype(link) == ARPHRD_ETHER && (rtnl_link_get_flags(link) & IFF_LOOPBACK) == 0 &&
           mac != nullptr && nl_addr_get_len(mac) == 6;
}

// The name of the link with this index; empty when there is none (or it is in another namespace).
std::string NameOfLink(int index) {
    char name[IF_NAMESIZE] = {};
    return index > 0 && if_indextoname(static_cast<unsigned>(index), name) != nullptr ? name : "";
}

std::string Describe(rtnl_link* link, const std::string& name, Ethtool& ethtool) {
    std::string text;
    if (rtnl_link_is_vlan(link) != 0) {
        const std::string below = NameOfLink(rtnl_link_get_link(link));
        text = "VLAN " + std::to_string(rtnl_link_vlan_get_id(link)) + (below.empty() ? "" : " on " + below);
    } else {
        text = ethtool.DescribeDriver(name);
    }
    if (text.empty()) {
        const char* kind = rtnl_link_get_type(link);
        text = kind != nullptr ? kind : "network adapter";
    }
    if (const std::string master = NameOfLink(rtnl_link_get_master(link)); !master.empty()) {
        text += ", port of " + master;
    }
    const char* alias = rtnl_link_get_ifalias(link);
    return alias != nullptr ? text + ", " + alias : text;
}

void FillChecksumOffload(const Ethtool::Features& features, ADAPTER_INFO_LIST_ENTRY& entry) {
    constexpr const char* kNames[] = {"tx-checksum-ipv4", "tx-checksum-ip-generic", "tx-checksum-ipv6",
                                      "rx-checksum"};
    constexpr std::uint32_t kTransport = kChecksumTcp | kChecksumUdp;
    const bool generic = features.IsActive("tx-checksum-ip-generic");
    const bool receive = features.IsActive("rx-checksum");
    entry.ChecksumOffloadPresent =
        std::ranges::any_of(kNames, [&](const char* name) { return features.IsPresent(name); }) ? 1 : 0;
    // Linux leaves the checksum of the IP header to no driver: its bit stays clear.
    entry.V4Transmit = generic || features.IsActive("tx-checksum-ipv4") ? kTransport : 0;
    entry.V6Transmit = generic || features.IsActive("tx-checksum-ipv6") ? kTransport : 0;
    entry.V4Receive = receive ? kTransport : 0;
    entry.V6Receive = receive ? kTransport : 0;
}

// What every adapter is asked through.
struct Questions {
    Ethtool ethtool;
    PromiscuousProbe promiscuous;
};

ADAPTER_INFO_LIST_ENTRY MakeEntry(rtnl_link* link, const LinkAddresses& addresses, Questions& ask,
                                  AdapterFacts& facts) {
    ADAPTER_INFO_LIST_ENTRY entry;
    const char* linkName = rtnl_link_get_name(link);
    const std::string name = linkName != nullptr ? linkName : "";
    const std::wstring wideName = ToWide(name);
    entry.leadingWord = sizeof entry;
    SetField(entry.AdapterName, kAdapterPrefix + wideName);
    SetField(entry.Connection, wideName);
    SetField(entry.Description, ToWide(Describe(link, name, ask.ethtool)));
    std::memcpy(entry.PhysAddr, nl_addr_get_binary_addr(rtnl_link_get_addr(link)), sizeof entry.PhysAddr);
    entry.LinkType = kNdisMedium802_3;
    entry.LinkSpeed = static_cast<std::uint32_t>(
        std::min<std::uint64_t>(ask.ethtool.GetLinkSpeed(name) * kSpeedUnitsOfMegabit, UINT32_MAX));
    entry.IPAddr = addresses.address;
    if (addresses.address != 0) {
        const unsigned length = std::min(addresses.prefixLength, 32U);
        entry.IPAddrMask = Ipv4Address::FromHost(length == 0 ? 0 : UINT32_MAX << (32 - length)).Memory();
    }
    entry.GatewayIPAddr = addresses.gateway;
    entry.dwIndex = static_cast<std::uint32_t>(rtnl_link_get_ifindex(link));
    constexpr unsigned kLowerUp = 0x10000; // the carrier is there (IFF_LOWER_UP)
    entry.MediaConnected = (rtnl_link_get_flags(link) & (IFF_UP | kLowerUp)) == (IFF_UP | kLowerUp) ? 1 : 0;
    entry.MaxPacketLen = rtnl_link_get_mtu(link) + kEthernetHeader;
    const std::optional<bool> promiscuous = ask.promiscuous.IsCapable(
        name, entry.dwIndex,
        (rtnl_link_get_flags(link) & IFF_PROMISC) != 0 || rtnl_link_get_promiscuity(link) != 0);
    entry.PromiscuousMode = promiscuous.value_or(false) ? 1 : 0;
    facts.promiscuousKnown = promiscuous.has_value();
    facts.portOf = ToWide(NameOfLink(rtnl_link_get_master(link)));
    const bool dhcp =
        addresses.dhcp || HasDhcpLease("", name, entry.dwIndex, Ipv4Address::FromMemory(addresses.address));
    entry.DHCP = dhcp ? 1 : 0;
    facts.dhcpKnown = dhcp;
    FillChecksumOffload(ask.ethtool.GetFeatures(name), entry);
    return entry;
}

AdapterRank RankOf(const ADAPTER_INFO_LIST_ENTRY& entry, bool isUp, const AdapterFacts& facts,
                   const DefaultRoute& best) {
    return {static_cast<int>(entry.dwIndex) != best.link, !isUp || entry.IPAddr == 0, !facts.portOf.empty(),
            !isUp, entry.dwIndex};
}

using Ranks = std::unordered_map<std::uint32_t, AdapterRank>; // by the adapter's index

// By their indexes; of several adapters with one MAC address the one that is meant by it stands before the
// first.
void SortByIndex(std::vector<ADAPTER_INFO_LIST_ENTRY>& entries, const Ranks& ranks) {
    struct Group {
        std::uint32_t first;
        std::uint32_t meant;
    };
    std::map<std::array<std::uint8_t, 6>, Group> groups;
    for (const ADAPTER_INFO_LIST_ENTRY& entry : entries) {
        const std::uint32_t index = entry.dwIndex;
        Group& group = groups.try_emplace(std::to_array(entry.PhysAddr), Group{index, index}).first->second;
        group.first = std::min(group.first, index);
        group.meant = ranks.at(index) < ranks.at(group.meant) ? index : group.meant;
    }
    std::ranges::sort(entries, {}, [&](const ADAPTER_INFO_LIST_ENTRY& entry) {
        const Group& group = groups.at(std::to_array(entry.PhysAddr));
        const bool meant = entry.dwIndex == group.meant;
        return std::pair(meant ? group.first : entry.dwIndex, !meant);
    });
}

} // namespace

std::uint32_t ListAdapters(std::vector<ADAPTER_INFO_LIST_ENTRY>& entries, FactsByIndex& facts) {
    entries.clear();
    facts.clear();
    const std::unique_ptr<nl_sock, decltype(&nl_socket_free)> socket(nl_socket_alloc(), nl_socket_free);
    nl_cache* links = nullptr;
    nl_cache* addresses = nullptr;
    nl_cache* routes = nullptr;
    int result = socket != nullptr ? nl_connect(socket.get(), NETLINK_ROUTE) : -NLE_NOMEM;
    result = result < 0 ? result : rtnl_link_alloc_cache(socket.get(), AF_UNSPEC, &links);
    const Cache linkOwner(links, nl_cache_free);
    result = result < 0 ? result : rtnl_addr_alloc_cache(socket.get(), &addresses);
    const Cache addressOwner(addresses, nl_cache_free);
    result = result < 0 ? result : rtnl_route_alloc_cache(socket.get(), AF_INET, 0, &routes);
    const Cache routeOwner(routes, nl_cache_free);
    if (result < 0) {
        return result == -NLE_NOMEM ? ENOMEM : result == -NLE_PERM ? EPERM : EIO;
    }
    AddressesByLink byLink;
    ForEach<rtnl_addr>(addresses, [&](rtnl_addr* row) { TakeAddress(row, byLink); });
    DefaultRoute best;
    ForEach<rtnl_route>(routes, [&](rtnl_route* route) { TakeRoute(route, byLink, best); });
    Questions ask;
    Ranks ranks;
    ForEach<rtnl_link>(links, [&](rtnl_link* link) {
        if (IsEthernetLike(link)) {
            AdapterFacts known;
            entries.push_back(MakeEntry(link, byLink[rtnl_link_get_ifindex(link)], ask, known));
            const ADAPTER_INFO_LIST_ENTRY& entry = entries.back();
            ranks[entry.dwIndex] = RankOf(entry, (rtnl_link_get_flags(link) & IFF_UP) != 0, known, best);
            facts[entry.dwIndex] = std::move(known);
        }
    });
    SortByIndex(entries, ranks);
    return 0;
}

} // namespace vnxtest
