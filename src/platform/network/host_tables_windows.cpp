// The host tables of Windows: the IP helper's own calls, and the decoding of its records.
#include <windows.h>
#include <winsock2.h>

#include <iphlpapi.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

#include "platform/network/growing_buffer_windows.h"
#include "platform/network/host_tables_windows.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

// The buffers grow by whole elements: a block of network parameters, and a table with one row.
constexpr std::uint32_t kNetworkParamsElement = 600;
constexpr std::uint32_t kRouteTableElement = 60;
constexpr std::uint32_t kAddressTableElement = 28;
static_assert(sizeof(FIXED_INFO) == kNetworkParamsElement);
static_assert(sizeof(MIB_IPFORWARDTABLE) == kRouteTableElement);
static_assert(sizeof(MIB_IPADDRTABLE) == kAddressTableElement);

// A table is a 32-bit row count, then the rows without a gap.
template <typename Row>
std::vector<Row> RowsOf(const std::vector<std::uint8_t>& table) {
    std::uint32_t count = 0;
    if (table.size() < sizeof count) {
        return {};
    }
    std::memcpy(&count, table.data(), sizeof count);
    const std::size_t room = (table.size() - sizeof count) / sizeof(Row);
    std::vector<Row> rows(std::min<std::size_t>(count, room));
    if (!rows.empty()) {
        std::memcpy(rows.data(), table.data() + sizeof count, rows.size() * sizeof(Row));
    }
    return rows;
}

std::wstring BoundedText(const char* text, std::size_t capacity) {
    return ToWide(std::string_view(text, strnlen(text, capacity)));
}

NetworkParameters DecodeParameters(const std::vector<std::uint8_t>& buffer) {
    NetworkParameters parameters;
    const auto* info = reinterpret_cast<const FIXED_INFO*>(buffer.data());
    parameters.hostName = BoundedText(info->HostName, sizeof info->HostName);
    parameters.nodeType = static_cast<NodeType>(info->NodeType);
    parameters.forwardsPackets = info->EnableRouting != 0;
    // Each further server is an element of its own, somewhere in the same buffer.
    for (const IP_ADDR_STRING* server = &info->DnsServerList; server != nullptr; server = server->Next) {
        const std::wstring text = BoundedText(server->IpAddress.String, sizeof server->IpAddress.String);
        if (!text.empty()) {
            parameters.dnsServers.push_back(text);
        }
    }
    return parameters;
}

class WindowsHostTables final : public HostTables {
public:
    Result<NetworkParameters> ReadParameters() override {
        const auto fill = [](void* bytes, std::uint32_t* size) {
            ULONG length = *size;
            const DWORD code = ::GetNetworkParams(static_cast<FIXED_INFO*>(bytes), &length);
            *size = length;
            return std::uint32_t{code};
        };
        return FetchGrowing(L"GetNetworkParams", kNetworkParamsElement, fill).map(DecodeParameters);
    }

    Result<std::vector<HostRoute>> ReadRoutes() override {
        const auto fill = [](void* bytes, std::uint32_t* size) {
            ULONG length = *size;
            const DWORD code = ::GetIpForwardTable(static_cast<MIB_IPFORWARDTABLE*>(bytes), &length, TRUE);
            *size = length;
            return std::uint32_t{code};
        };
        return FetchGrowing(L"GetIpForwardTable", kRouteTableElement, fill).map(DecodeRoutes);
    }

    Result<std::vector<HostAddress>> ReadAddresses() override {
        const auto fill = [](void* bytes, std::uint32_t* size) {
            ULONG length = *size;
            const DWORD code = ::GetIpAddrTable(static_cast<MIB_IPADDRTABLE*>(bytes), &length, TRUE);
            *size = length;
            return std::uint32_t{code};
        };
        return FetchGrowing(L"GetIpAddrTable", kAddressTableElement, fill).map(DecodeAddresses);
    }

    std::optional<MacAddress> SendARP(Ipv4Address destination, Ipv4Address source) override {
        ULONG answer[2] = {};
        ULONG length = sizeof answer;
        std::array<std::uint8_t, 6> mac{};
        if (::SendARP(destination.Memory(), source.Memory(), answer, &length) != NO_ERROR ||
            length != mac.size()) {
            return std::nullopt;
        }
        std::memcpy(mac.data(), answer, mac.size());
        return MacAddress(mac);
    }
};

} // namespace

std::vector<HostRoute> DecodeRoutes(const std::vector<std::uint8_t>& table) {
    std::vector<HostRoute> routes;
    for (const MIB_IPFORWARDROW& row : RowsOf<MIB_IPFORWARDROW>(table)) {
        routes.push_back({Ipv4Address::FromMemory(row.dwForwardDest),
                          Ipv4Address::FromMemory(row.dwForwardMask),
                          Ipv4Address::FromMemory(row.dwForwardNextHop), row.dwForwardIfIndex,
                          row.dwForwardMetric1, row.dwForwardType == MIB_IPROUTE_TYPE_INVALID});
    }
    return routes;
}

std::vector<HostAddress> DecodeAddresses(const std::vector<std::uint8_t>& table) {
    std::vector<HostAddress> addresses;
    for (const MIB_IPADDRROW& row : RowsOf<MIB_IPADDRROW>(table)) {
        addresses.push_back(
            {Ipv4Address::FromMemory(row.dwAddr), Ipv4Address::FromMemory(row.dwMask), row.dwIndex});
    }
    return addresses;
}

std::unique_ptr<HostTables> MakeHostTables() {
    return std::make_unique<WindowsHostTables>();
}

} // namespace vnxtest
