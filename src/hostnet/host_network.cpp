#include "hostnet/host_network.h"

#include <algorithm>

#include "wrenlib/errors.h"
#include "wrenlib/log.h"
#include "wrenlib/text.h"
#include "wrenlib/trace.h"
#include "wrenlib/visible_text.h"
#include "wrenpack/offload_settings.h"

namespace vnxtest {

namespace {

std::uint64_t MacKey(MacAddress mac) {
    std::uint64_t key = 0;
    for (const std::uint8_t byte : mac.Bytes()) {
        key = key << 8 | byte;
    }
    return key;
}

template <typename Map, typename Value>
Value FindOr(const Map& map, std::uint32_t key, Value missing) {
    const auto found = map.find(key);
    return found != map.end() ? found->second : missing;
}

// The table that was read; a failure leaves nullopt and is traced by the name of Windows' call.
template <typename Table>
std::optional<Table> Gathered(const wchar_t* call, Result<Table> read) {
    if (read) {
        return std::move(*read);
    }
    const std::uint32_t code = read.error().lastError;
    WrenLibAfxTrace(L"** InitGlobals: %s() failed; rc=%d, %s\n", std::wstring(call), code,
                    FormatLastError(code));
    return std::nullopt;
}

// On Windows this is ERROR_FILE_NOT_FOUND, on Linux ENOENT.
constexpr std::uint32_t kFileNotFound = 2;

void TraceAdapterListFailure(const Failure& failure) {
    const std::uint32_t code = failure.lastError;
    if (failure.call != kAdapterListSizeQuery) {
        WrenLibAfxTrace(L"** InitFPAdaptersList: %s failed; rc=%d: %s\n", failure.call, code,
                        FormatLastError(code));
        return;
    }
    WrenLibAfxTrace(L"** InitFPAdaptersList: %s %s; rc=%d: %s\n", failure.call,
                    failure.text.empty() ? L"failed!" : failure.text, code, FormatLastError(code));
    if (code == kFileNotFound) {
        WrenLibAfxTrace(L"** InitFPAdaptersList: (WWPCUtil was likely not found)\n");
    }
}

} // namespace

void HostNetwork::GatherTables() {
    HostTables& tables = m_sources.tables;
    m_parameters = Gathered(L"GetNetworkParams", tables.ReadParameters());
    if (m_parameters) {
        m_parameters->hostName = MakeVisible(m_parameters->hostName);
        std::ranges::transform(m_parameters->dnsServers, m_parameters->dnsServers.begin(), MakeVisible);
    }
    m_routes = Gathered(L"GetIpForwardTable", tables.ReadRoutes());
}

void HostNetwork::GatherAddresses() {
    m_addresses = Gathered(L"GetIpAddrTable", m_sources.tables.ReadAddresses());
    IndexAddresses();
}

void HostNetwork::InitGlobals() {
    GatherTables();
    if (!GatherAdapters()) {
        WrenLibAfxTrace(L"** InitGlobals: InitFPAdaptersList() failed!\n");
    }
    ProbeDefaultAdapterGateway();
}

void HostNetwork::ProbeDefaultAdapterGateway() {
    const HostAdapter* const adapter = DefaultAdapter();
    if (adapter == nullptr) {
        WrenLibAfxTrace(L"** InitGlobals: WARNING: default host adapter undefined!\n");
    } else if (adapter->gateway.IsZero()) {
        WrenLibAfxTrace(L"** InitGlobals: WARNING: default adapter gateway undefined!\n");
    } else if (!IsIPAddrResponsive(adapter->gateway, nullptr, adapter->address)) {
        WrenLibAfxTrace(L"** InitGlobals: WARNING: default adapter gateway unresponsive!\n");
    }
}

bool HostNetwork::InitFPAdaptersList() {
    if (m_haveAdapters) {
        return true;
    }
    auto adapters = m_sources.adapters.ListAdapters();
    m_haveAdapters = adapters.has_value();
    if (adapters) {
        m_adapters = std::move(*adapters);
    } else {
        m_adapters.clear();
        TraceAdapterListFailure(adapters.error());
    }
    IndexAdapters();
    return m_haveAdapters;
}

bool HostNetwork::GatherAdapters() {
    m_adapters.clear();
    m_haveAdapters = false;
    m_defaultAdapter.reset();
    m_defaultAdapterIpText.clear();
    // With the old addresses a new adapter would have no mask.
    GatherAddresses();
    const bool found = InitFPAdaptersList();
    if (found) {
        FindDefaultAdapter();
    }
    return found;
}

bool HostNetwork::RedetectAdapters() {
    GatherTables();
    const bool found = GatherAdapters();
    if (m_gatewayOrigin == GatewayOrigin::RoutingTable) {
        TakeGateway({}, {}, GatewayOrigin::None);
    }
    FindDefaultGateway();
    return found;
}

void HostNetwork::FindDefaultAdapter() {
    m_defaultAdapter.reset();
    const std::wstring macText = m_sources.defaultAdapterMac();
    const std::optional<MacAddress> mac = ParseMACAddress(macText);
    // A library without a default returns an empty text; any other text must be an address.
    if (!macText.empty()) {
        Verify(mac.has_value());
    }
    const auto found =
        std::ranges::find(m_adapters, mac, [](const HostAdapter& a) { return std::optional(a.mac); });
    if (found != m_adapters.end()) {
        m_defaultAdapter = *found;
    }
    m_defaultAdapterIpText = FormatIPAddr(m_defaultAdapter ? m_defaultAdapter->address : Ipv4Address());
}

bool HostNetwork::IpForwardingEnabled() const {
    return m_parameters && m_parameters->forwardsPackets.value_or(false);
}

void HostNetwork::TakeGateway(Ipv4Address gateway, MacAddress mac, GatewayOrigin origin) {
    m_gatewayOrigin = origin;
    m_gateway = gateway;
    m_gatewayMac = mac;
    m_gatewayText = FormatIPAddr(gateway);
    m_gatewayMacText = mac.IsZero() ? L"" : FormatMACAddr(mac);
}

void HostNetwork::SetDefaultGateway(Ipv4Address gateway, MacAddress mac) {
    TakeGateway(gateway, mac, GatewayOrigin::User);
}

bool HostNetwork::FindDefaultGateway() {
    if (HasDefaultGateway() || !m_routes) {
        return HasDefaultGateway();
    }
    const auto last = std::find_if(m_routes->rbegin(), m_routes->rend(),
                                   [](const HostRoute& row) { return row.IsDefault(); });
    if (last == m_routes->rend()) {
        return false;
    }
    MacAddress mac;
    // A default route without a gateway has none to probe.
    if (!last->nextHop.IsZero()) {
        IsIPAddrResponsive(last->nextHop, &mac, Ipv4Address());
    }
    TakeGateway(last->nextHop, mac, GatewayOrigin::RoutingTable);
    return true;
}

bool HostNetwork::IsIPAddrResponsive(Ipv4Address destination, MacAddress* mac, Ipv4Address source) {
    const std::optional<MacAddress> answer = m_sources.tables.SendARP(destination, source);
    if (mac != nullptr) {
        *mac = answer.value_or(MacAddress());
    }
    return answer.has_value();
}

void HostNetwork::IndexAdapters() {
    m_maskByAdapterAddress.clear();
    m_adapterMacs.clear();
    for (const HostAdapter& adapter : m_adapters) {
        if (!adapter.address.IsZero()) {
            m_maskByAdapterAddress.try_emplace(adapter.address.Memory(), adapter.mask);
        }
        m_adapterMacs.insert(MacKey(adapter.mac));
    }
}

void HostNetwork::IndexAddresses() {
    m_addressByInterface.clear();
    m_maskByAddress.clear();
    if (m_addresses) {
        for (const HostAddress& row : *m_addresses) {
            m_addressByInterface.try_emplace(row.interfaceIndex, row.address);
            m_maskByAddress.try_emplace(row.address.Memory(), row.mask);
        }
    }
}

std::wstring HostNetwork::GetInterfaceIPString(std::uint32_t interfaceIndex) const {
    const auto found = m_addressByInterface.find(interfaceIndex);
    return found != m_addressByInterface.end() ? FormatIPAddr(found->second) : L"";
}

Ipv4Address HostNetwork::GetAdapterMaskByIP(Ipv4Address address) const {
    return FindOr(m_maskByAdapterAddress, address.Memory(), Ipv4Address());
}

Ipv4Address HostNetwork::GetHostMaskByIP(Ipv4Address address) const {
    const Ipv4Address mask = GetAdapterMaskByIP(address);
    return mask.IsZero() ? FindOr(m_maskByAddress, address.Memory(), Ipv4Address()) : mask;
}

bool HostNetwork::IsAdapterIP(Ipv4Address address) const {
    return m_maskByAdapterAddress.contains(address.Memory());
}

bool HostNetwork::IsAdapterMAC(MacAddress mac) const {
    return m_adapterMacs.contains(MacKey(mac));
}

bool HostNetwork::OffloadsLargeSends(MacAddress mac) const {
    const auto adapter =
        mac.IsZero() ? m_adapters.end() : std::ranges::find(m_adapters, mac, &HostAdapter::mac);
    return adapter != m_adapters.end() &&
           (GetAdapterLSOFlags(TrimBlanks(adapter->driverName)) & kLsoEnabledMask) != 0;
}

} // namespace vnxtest
