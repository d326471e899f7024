#include <cerrno>
#include <cstring>
#include <map>
#include <memory>

#include <winsock2.h>
#include <ws2tcpip.h>

#include <iphlpapi.h>
#include <netioapi.h>

#include "vnetx/host/host_links.h"
#include "wrenlib/driver_prefix.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

Ipv4Address AddressOf(const SOCKADDR_INET& address) {
    return Ipv4Address::FromMemory(address.Ipv4.sin_addr.s_addr);
}

HostLink LinkOf(const IP_ADAPTER_ADDRESSES& adapter) {
    HostLink link;
    link.captureName = "\\Device\\" + ToNarrow(kDriverPrefix) + adapter.AdapterName;
    link.index = adapter.IfIndex;
    link.mtu = adapter.Mtu;
    link.up = adapter.OperStatus == IfOperStatusUp;
    // Others, such as "dormant" and "unknown", may well carry frames.
    link.carrier = adapter.OperStatus != IfOperStatusDown && adapter.OperStatus != IfOperStatusNotPresent &&
                   adapter.OperStatus != IfOperStatusLowerLayerDown;
    link.loopback = adapter.IfType == IF_TYPE_SOFTWARE_LOOPBACK;
    if (adapter.PhysicalAddressLength == 6) {
        std::array<std::uint8_t, 6> mac{};
        std::memcpy(mac.data(), adapter.PhysicalAddress, mac.size());
        link.mac = MacAddress(mac);
    }
    for (const auto* unicast = adapter.FirstUnicastAddress; unicast; unicast = unicast->Next) {
        if (unicast->Address.lpSockaddr->sa_family == AF_INET) {
            sockaddr_in inet{};
            std::memcpy(&inet, unicast->Address.lpSockaddr, sizeof inet);
            link.addresses.push_back({Ipv4Address::FromMemory(inet.sin_addr.s_addr),
                                      Ipv4Address::Mask(unicast->OnLinkPrefixLength)});
        }
    }
    return link;
}

} // namespace

namespace {

// Calls `visit` for every adapter; sets errno when they cannot be listed.
template <typename Visit>
void ForEachAdapter(const Visit& visit) {
    constexpr ULONG kFlags = GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_SKIP_DNS_SERVER;
    ULONG size = 16 * 1024;
    // The list may grow between the query for its size and the query for its content.
    for (int attempt = 0; attempt < 5; ++attempt) {
        const auto buffer = std::make_unique<std::uint64_t[]>(size / sizeof(std::uint64_t) + 1);
        auto* adapters = reinterpret_cast<IP_ADAPTER_ADDRESSES*>(buffer.get());
        const ULONG result = GetAdaptersAddresses(AF_INET, kFlags, nullptr, adapters, &size);
        if (result == ERROR_SUCCESS) {
            for (const auto* adapter = adapters; adapter; adapter = adapter->Next) {
                visit(*adapter);
            }
            return;
        }
        if (result != ERROR_BUFFER_OVERFLOW) {
            errno = result == ERROR_NO_DATA ? ENODEV : EIO;
            return;
        }
    }
    errno = ENOMEM;
}

} // namespace

std::vector<HostLink> ListHostLinks() {
    std::vector<HostLink> links;
    ForEachAdapter([&](const IP_ADAPTER_ADDRESSES& adapter) { links.push_back(LinkOf(adapter)); });
    return links;
}

std::uint32_t DefaultRouteLinkIndex() {
    MIB_IPFORWARD_TABLE2* table = nullptr;
    if (GetIpForwardTable2(AF_INET, &table) != NO_ERROR) {
        return 0;
    }
    const std::unique_ptr<MIB_IPFORWARD_TABLE2, decltype(&FreeMibTable)> owner(table, FreeMibTable);
    std::map<NET_IFINDEX, ULONG> linkMetrics;
    ForEachAdapter(
        [&](const IP_ADAPTER_ADDRESSES& adapter) { linkMetrics[adapter.IfIndex] = adapter.Ipv4Metric; });
    std::uint32_t index = 0;
    std::uint64_t best = 0;
    for (ULONG i = 0; i < table->NumEntries; ++i) {
        const MIB_IPFORWARD_ROW2& row = table->Table[i];
        if (row.DestinationPrefix.PrefixLength != 0) {
            continue;
        }
        const std::uint64_t metric = std::uint64_t{row.Metric} + linkMetrics[row.InterfaceIndex];
        if (index == 0 || metric < best) {
            index = row.InterfaceIndex;
            best = metric;
        }
    }
    return index;
}

// False: an adapter bound to a bridge or a team has no IPv4 of its own and is not listed here.
bool IsPortOfAnother(std::uint32_t) {
    return false;
}

int HostLinkHealth(std::uint32_t index) {
    MIB_IF_ROW2 row{};
    row.InterfaceIndex = index;
    const DWORD result = GetIfEntry2(&row);
    if (result == ERROR_FILE_NOT_FOUND) {
        return ENODEV;
    }
    // A failure to ask is no failure of the adapter.
    return result == NO_ERROR && row.AdminStatus == NET_IF_ADMIN_STATUS_DOWN ? ENETDOWN : 0;
}

std::optional<Ipv4Address> GatewayTowards(std::uint32_t index, Ipv4Address destination) {
    SOCKADDR_INET target{};
    target.Ipv4.sin_family = AF_INET;
    target.Ipv4.sin_addr.s_addr = destination.Memory();
    MIB_IPFORWARD_ROW2 route{};
    SOCKADDR_INET source{};
    if (GetBestRoute2(nullptr, index, nullptr, &target, 0, &route, &source) != NO_ERROR) {
        return std::nullopt;
    }
    const Ipv4Address hop = AddressOf(route.NextHop);
    return hop.IsZero() ? std::nullopt : std::optional(hop);
}

} // namespace vnxtest
