#include "wrenpack/adapter_list_linux.h"

#include <algorithm>
#include <map>
#include <optional>
#include <unordered_map>
#include <utility>

#include <net/if.h>
#include <net/if_arp.h>

#include "netlink/addresses.h"
#include "netlink/links.h"
#include "netlink/routes.h"
#include "wrenlib/adapter_rank.h"
#include "wrenlib/text.h"
#include "wrenpack/dhcp_linux.h"
#include "wrenpack/ethtool_linux.h"
#include "wrenpack/promiscuous_linux.h"

namespace vnxtest {

namespace {

constexpr std::uint64_t kMegabit = 1'000'000;

// The addresses and routes of one link.
struct LinkAddresses {
    Ipv4Address address;
    Ipv4Address mask;
    Ipv4Address gateway;
    std::uint32_t gatewayMetric = 0;
    bool dhcp = false;
};

// The kernel's tables, by the links' indexes.
struct KernelTables {
    std::vector<KernelLink> links;
    std::unordered_map<std::uint32_t, LinkAddresses> addresses;
    std::unordered_map<std::uint32_t, std::string> names;
    std::uint32_t defaultLink = 0; // of the host's best default route; 0: none

    std::string NameOf(std::uint32_t index) const {
        const auto found = names.find(index);
        return found != names.end() ? found->second : "";
    }
};

void Take(const KernelAddress& row, LinkAddresses& link) {
    // Only DHCP gives an IPv4 address that expires.
    link.dhcp = link.dhcp || row.expires;
    if (link.address.IsZero()) {
        link.address = row.address;
        link.mask = row.mask;
    }
}

// The gateway of an adapter is the next hop of its default route with the lowest metric.
void Take(const KernelRoute& route, Ipv4Address gateway, LinkAddresses& link) {
    link.dhcp = link.dhcp || route.fromDhcp;
    if (route.IsDefault() && !gateway.IsZero() &&
        (link.gateway.IsZero() || route.metric < link.gatewayMetric)) {
        link.gateway = gateway;
        link.gatewayMetric = route.metric;
    }
}

Result<KernelTables> ReadTables() {
    auto links = ListLinks();
    if (!links) {
        return PassOn(links);
    }
    auto addresses = ListAddresses();
    if (!addresses) {
        return PassOn(addresses);
    }
    auto routes = ListRoutes();
    if (!routes) {
        return PassOn(routes);
    }
    KernelTables tables;
    tables.links = std::move(*links);
    for (const KernelLink& link : tables.links) {
        tables.names[link.index] = link.name;
    }
    for (const KernelAddress& row : *addresses) {
        Take(row, tables.addresses[row.link]);
    }
    for (const KernelRoute& route : *routes) {
        for (const KernelNextHop& hop : route.nextHops) {
            if (route.kind == KernelRouteKind::Unicast) {
                Take(route, hop.gateway, tables.addresses[hop.link]);
            }
        }
    }
    const KernelRoute* const best = BestDefaultRoute(*routes);
    tables.defaultLink = best != nullptr ? best->nextHops.front().link : 0;
    return tables;
}

bool IsEthernetLike(const KernelLink& link) {
    return link.hardwareType == ARPHRD_ETHER && (link.flags & IFF_LOOPBACK) == 0 && link.mac;
}

std::string Describe(const KernelLink& link, const KernelTables& tables, Ethtool& ethtool) {
    std::string text;
    if (link.vlan) {
        const std::string below = tables.NameOf(link.below);
        text = "VLAN " + std::to_string(*link.vlan) + (below.empty() ? "" : " on " + below);
    } else {
        text = ethtool.DescribeDriver(link.name);
    }
    if (text.empty()) {
        text = link.kind.empty() ? "network adapter" : link.kind;
    }
    if (const std::string master = tables.NameOf(link.master); !master.empty()) {
        text += ", port of " + master;
    }
    return link.alias.empty() ? text : text + ", " + link.alias;
}

std::optional<ChecksumOffload> ChecksumOffloadOf(const Ethtool::Features& features) {
    constexpr const char* kNames[] = {"tx-checksum-ipv4", "tx-checksum-ip-generic", "tx-checksum-ipv6",
                                      "rx-checksum"};
    if (std::ranges::none_of(kNames, [&](const char* name) { return features.IsPresent(name); })) {
        return std::nullopt;
    }
    // Linux never offloads the checksum of the IP header: its bit stays clear.
    const auto transport = [](bool active) { return active ? kChecksumTcp | kChecksumUdp : 0U; };
    const bool generic = features.IsActive("tx-checksum-ip-generic");
    const std::uint32_t receive = transport(features.IsActive("rx-checksum"));
    return ChecksumOffload{transport(generic || features.IsActive("tx-checksum-ipv4")), receive,
                           transport(generic || features.IsActive("tx-checksum-ipv6")), receive};
}

// The sockets through which adapters are queried.
struct Questions {
    Ethtool ethtool;
    PromiscuousProbe promiscuous;
};

HostAdapter MakeAdapter(const KernelLink& link, const KernelTables& tables, Questions& ask) {
    constexpr unsigned kLowerUp = 0x10000; // the link has its carrier (IFF_LOWER_UP)
    LinkAddresses addresses;
    if (const auto found = tables.addresses.find(link.index); found != tables.addresses.end()) {
        addresses = found->second;
    }
    HostAdapter adapter;
    adapter.connection = ToWide(link.name);
    adapter.driverName = DriverNameOf(adapter.connection);
    adapter.description = ToWide(Describe(link, tables, ask.ethtool));
    adapter.index = link.index;
    adapter.mac = *link.mac;
    adapter.address = addresses.address;
    adapter.mask = addresses.mask;
    adapter.gateway = addresses.gateway;
    if (const std::uint64_t megabits = ask.ethtool.GetLinkSpeed(link.name); megabits != 0) {
        adapter.linkSpeed = megabits * kMegabit;
    }
    adapter.mediaConnected = (link.flags & (IFF_UP | kLowerUp)) == (IFF_UP | kLowerUp);
    adapter.largestPacket = link.mtu + kEthernetHeader;
    adapter.promiscuous = ask.promiscuous.IsCapable(link.name, link.index,
                                                    (link.flags & IFF_PROMISC) != 0 || link.promiscuity != 0);
    adapter.portOf = ToWide(tables.NameOf(link.master));
    // True or nullopt: nothing proves that DHCP is off.
    if (addresses.dhcp || HasDhcpLease("", link.name, link.index, addresses.address)) {
        adapter.dhcp = true;
    }
    adapter.checksumOffload = ChecksumOffloadOf(ask.ethtool.GetFeatures(link.name));
    return adapter;
}

AdapterRank RankOf(const HostAdapter& adapter, bool isUp, std::uint32_t defaultLink) {
    return {adapter.index != defaultLink, !isUp || adapter.address.IsZero(), !adapter.portOf.empty(), !isUp,
            adapter.index};
}

using Ranks = std::unordered_map<std::uint32_t, AdapterRank>; // by the adapter's index

// By their indexes; of several adapters with one MAC address the one of lowest rank moves before the
// others.
void SortByIndex(std::vector<HostAdapter>& adapters, const Ranks& ranks) {
    struct Group {
        std::uint32_t first;
        std::uint32_t meant;
    };
    std::map<MacAddress, Group> groups;
    for (const HostAdapter& adapter : adapters) {
        const std::uint32_t index = adapter.index;
        Group& group = groups.try_emplace(adapter.mac, Group{index, index}).first->second;
        group.first = std::min(group.first, index);
        group.meant = ranks.at(index) < ranks.at(group.meant) ? index : group.meant;
    }
    std::ranges::sort(adapters, {}, [&](const HostAdapter& adapter) {
        const Group& group = groups.at(adapter.mac);
        const bool meant = adapter.index == group.meant;
        return std::pair(meant ? group.first : adapter.index, !meant);
    });
}

} // namespace

Result<std::vector<HostAdapter>> ReadAdapters() {
    auto tables = ReadTables();
    if (!tables) {
        return PassOn(tables);
    }
    std::vector<HostAdapter> adapters;
    Questions ask;
    Ranks ranks;
    for (const KernelLink& link : tables->links) {
        if (IsEthernetLike(link)) {
            adapters.push_back(MakeAdapter(link, *tables, ask));
            ranks[link.index] = RankOf(adapters.back(), (link.flags & IFF_UP) != 0, tables->defaultLink);
        }
    }
    SortByIndex(adapters, ranks);
    return adapters;
}

} // namespace vnxtest
