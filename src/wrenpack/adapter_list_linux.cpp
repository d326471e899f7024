#include "wrenpack/adapter_list_linux.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
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

constexpr std::uint32_t kNdisMedium802_3 = 0;
constexpr std::uint32_t kEthernetHeader = 14;
constexpr std::uint64_t kSpeedUnitsOfMegabit = 10000; // 100 bit/s

// What addresses and routes say of one link.
struct LinkAddresses {
    Ipv4Address address;
    Ipv4Address mask;
    Ipv4Address gateway;
    std::uint32_t gatewayMetric = 0;
    bool dhcp = false;
};

// What the kernel tells of the host's links, by their indexes.
struct KernelTables {
    std::vector<KernelLink> links;
    std::unordered_map<std::uint32_t, LinkAddresses> addresses;
    std::unordered_map<std::uint32_t, std::string> names;
    std::uint32_t defaultLink = 0; // of the host's best default route; 0: there is none

    std::string NameOf(std::uint32_t index) const {
        const auto found = names.find(index);
        return found != names.end() ? found->second : "";
    }
};

void Take(const KernelAddress& row, LinkAddresses& link) {
    // IPv4 knows no other way than DHCP to an address that expires.
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

// 0, or the errno value of the failure.
int ReadTables(KernelTables& tables) {
    std::vector<KernelAddress> addresses;
    std::vector<KernelRoute> routes;
    int code = ListLinks(tables.links);
    code = code != 0 ? code : ListAddresses(addresses);
    code = code != 0 ? code : ListRoutes(routes);
    for (const KernelLink& link : tables.links) {
        tables.names[link.index] = link.name;
    }
    for (const KernelAddress& row : addresses) {
        Take(row, tables.addresses[row.link]);
    }
    for (const KernelRoute& route : routes) {
        for (const KernelNextHop& hop : route.nextHops) {
            if (route.kind == KernelRouteKind::Unicast) {
                Take(route, hop.gateway, tables.addresses[hop.link]);
            }
        }
    }
    const KernelRoute* const best = BestDefaultRoute(routes);
    tables.defaultLink = best != nullptr ? best->nextHops.front().link : 0;
    return code;
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

ADAPTER_INFO_LIST_ENTRY MakeEntry(const KernelLink& link, const KernelTables& tables, Questions& ask,
                                  AdapterFacts& facts) {
    ADAPTER_INFO_LIST_ENTRY entry;
    const std::wstring wideName = ToWide(link.name);
    entry.leadingWord = sizeof entry;
    SetField(entry.AdapterName, kAdapterPrefix + wideName);
    SetField(entry.Connection, wideName);
    SetField(entry.Description, ToWide(Describe(link, tables, ask.ethtool)));
    std::ranges::copy(link.mac->Bytes(), entry.PhysAddr);
    entry.LinkType = kNdisMedium802_3;
    entry.LinkSpeed = static_cast<std::uint32_t>(
        std::min<std::uint64_t>(ask.ethtool.GetLinkSpeed(link.name) * kSpeedUnitsOfMegabit, UINT32_MAX));
    LinkAddresses addresses;
    if (const auto found = tables.addresses.find(link.index); found != tables.addresses.end()) {
        addresses = found->second;
    }
    entry.IPAddr = addresses.address.Memory();
    entry.IPAddrMask = addresses.mask.Memory();
    entry.GatewayIPAddr = addresses.gateway.Memory();
    entry.dwIndex = link.index;
    constexpr unsigned kLowerUp = 0x10000; // the carrier is there (IFF_LOWER_UP)
    entry.MediaConnected = (link.flags & (IFF_UP | kLowerUp)) == (IFF_UP | kLowerUp) ? 1 : 0;
    entry.MaxPacketLen = link.mtu + kEthernetHeader;
    const std::optional<bool> promiscuous = ask.promiscuous.IsCapable(
        link.name, link.index, (link.flags & IFF_PROMISC) != 0 || link.promiscuity != 0);
    entry.PromiscuousMode = promiscuous.value_or(false) ? 1 : 0;
    facts.promiscuousKnown = promiscuous.has_value();
    facts.portOf = ToWide(tables.NameOf(link.master));
    const bool dhcp = addresses.dhcp || HasDhcpLease("", link.name, link.index, addresses.address);
    entry.DHCP = dhcp ? 1 : 0;
    facts.dhcpKnown = dhcp;
    FillChecksumOffload(ask.ethtool.GetFeatures(link.name), entry);
    return entry;
}

AdapterRank RankOf(const ADAPTER_INFO_LIST_ENTRY& entry, bool isUp, const AdapterFacts& facts,
                   std::uint32_t defaultLink) {
    return {entry.dwIndex != defaultLink, !isUp || entry.IPAddr == 0, !facts.portOf.empty(), !isUp,
            entry.dwIndex};
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
    KernelTables tables;
    if (const int code = ReadTables(tables)) {
        return static_cast<std::uint32_t>(code);
    }
    Questions ask;
    Ranks ranks;
    for (const KernelLink& link : tables.links) {
        if (IsEthernetLike(link)) {
            AdapterFacts known;
            entries.push_back(MakeEntry(link, tables, ask, known));
            const ADAPTER_INFO_LIST_ENTRY& entry = entries.back();
            ranks[entry.dwIndex] = RankOf(entry, (link.flags & IFF_UP) != 0, known, tables.defaultLink);
            facts[entry.dwIndex] = std::move(known);
        }
    }
    SortByIndex(entries, ranks);
    return 0;
}

} // namespace vnxtest
