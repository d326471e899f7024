#include "hostnet/host_network.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "core/output_channel.h"
#include "wrenlib/errors.h"
#include "wrenlib/text.h"
#include "wrenlib/trace.h"
#include "wrenlib/visible_text.h"

namespace vnxtest {

namespace {

MacAddress MacOf(const ADAPTER_INFO_LIST_ENTRY& entry) {
    return MacAddress(std::to_array(entry.PhysAddr));
}

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

void TraceTableFailure(std::wstring_view call, std::uint32_t code) {
    if (code != 0) {
        WrenLibAfxTrace(L"** InitGlobals: %s() failed; rc=%d, %s\n", std::wstring(call), code,
                        FormatLastError(code));
    }
}

// On Windows this is ERROR_FILE_NOT_FOUND, on Linux ENOENT.
constexpr std::uint32_t kFileNotFound = 2;

void TraceAdapterListFailure(const AdapterListOutcome& outcome) {
    const std::wstring text = FormatLastError(outcome.code);
    switch (outcome.stage) {
    case AdapterListStage::Done:
        break;
    case AdapterListStage::SizeQuery:
        WrenLibAfxTrace(L"** InitFPAdaptersList: WrenPackGetAdaptersList(NULL,0) %s; rc=%d: %s\n",
                        std::wstring(outcome.size != 0 ? L"succeeded?!" : L"failed!"), outcome.code, text);
        if (outcome.code == kFileNotFound) {
            WrenLibAfxTrace(L"** InitFPAdaptersList: (WWPCUtil was likely not found)\n");
        }
        break;
    case AdapterListStage::Allocation:
        WrenLibAfxTrace(L"** InitFPAdaptersList: new ADAPTER_INFO_LIST_ENTRY [%d] failed; rc=%d: %s\n",
                        outcome.count, outcome.code, text);
        break;
    case AdapterListStage::Fill:
        WrenLibAfxTrace(L"** InitFPAdaptersList: WrenPackGetAdaptersList(!NULL,!0) failed; rc=%d: %s\n",
                        outcome.code, text);
        break;
    }
}

} // namespace

HostNetwork::HostNetwork(HostSources sources, VnetxLibrary& library)
    : m_sources(sources), m_library(library) {}

void HostNetwork::GatherTables() {
    TraceTableFailure(L"GetNetworkParams", ReadNetworkParameters(m_sources.tables, m_parameters));
    if (m_parameters) {
        m_parameters->hostName = MakeVisible(m_parameters->hostName);
        std::ranges::transform(m_parameters->dnsServers, m_parameters->dnsServers.begin(), MakeVisible);
    }
    TraceTableFailure(L"GetIpForwardTable", ReadRoutes(m_sources.tables, m_routes));
}

void HostNetwork::InitGlobals() {
    RegisterDebugOutput(m_library);
    GatherTables();
    if (!GatherAdapters()) {
        WrenLibAfxTrace(L"** InitGlobals: InitFPAdaptersList() failed!\n");
    }
    ProbeDefaultAdapterGateway();
}

void HostNetwork::ProbeDefaultAdapterGateway() {
    const ADAPTER_INFO_LIST_ENTRY* adapter = DefaultAdapter();
    if (adapter == nullptr) {
        WrenLibAfxTrace(L"** InitGlobals: WARNING: default host adapter undefined!\n");
    } else if (adapter->GatewayIPAddr == 0) {
        WrenLibAfxTrace(L"** InitGlobals: WARNING: default adapter gateway undefined!\n");
    } else if (!IsIPAddrResponsive(Ipv4Address::FromMemory(adapter->GatewayIPAddr), nullptr,
                                   Ipv4Address::FromMemory(adapter->IPAddr))) {
        WrenLibAfxTrace(L"** InitGlobals: WARNING: default adapter gateway unresponsive!\n");
    }
}

bool HostNetwork::InitFPAdaptersList() {
    if (m_haveAdapters) {
        return true;
    }
    const AdapterListOutcome outcome = FetchAdapters(m_sources.adapters, m_adapters);
    TraceAdapterListFailure(outcome);
    m_haveAdapters = outcome.stage == AdapterListStage::Done;
    IndexAdapters();
    return m_haveAdapters;
}

bool HostNetwork::GatherAdapters() {
    m_adapters.clear();
    m_haveAdapters = false;
    m_defaultAdapter = {};
    m_defaultAdapterIpText.clear();
    // The addresses belong to the adapters: with the old ones a new adapter would have no mask.
    TraceTableFailure(L"GetIpAddrTable", ReadAddresses(m_sources.tables, m_addresses));
    IndexAddresses();
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
    m_defaultAdapter = {};
    const char* text = m_library.GetDefaultIface();
    const std::wstring macText = text != nullptr ? ToWide(text) : L"";
    const std::optional<MacAddress> mac = ParseMACAddress(macText);
    // A library without a default says so by an empty text; any other text must be an address.
    if (!macText.empty()) {
        Verify(mac.has_value());
    }
    const auto found =
        mac ? std::ranges::find(m_adapters, *mac, MacOf) : std::vector<ADAPTER_INFO_LIST_ENTRY>::iterator{};
    if (mac && found != m_adapters.end()) {
        // Byte for byte, padding too: the report compares whole entries.
        std::memcpy(static_cast<void*>(&m_defaultAdapter), &*found, sizeof m_defaultAdapter);
    }
    m_defaultAdapterIpText = FormatIPAddr(Ipv4Address::FromMemory(m_defaultAdapter.IPAddr));
}

const ADAPTER_INFO_LIST_ENTRY* HostNetwork::DefaultAdapter() const {
    return m_defaultAdapter.leadingWord != 0 ? &m_defaultAdapter : nullptr;
}

bool HostNetwork::IpForwardingEnabled() const {
    return m_parameters && m_parameters->enableRouting;
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
                                   [](const RouteRow& row) { return row.IsDefault(); });
    if (last == m_routes->rend()) {
        return false;
    }
    MacAddress mac;
    // A default route that names no gateway leaves nobody to ask.
    if (!last->nextHop.IsZero()) {
        IsIPAddrResponsive(last->nextHop, &mac, Ipv4Address());
    }
    TakeGateway(last->nextHop, mac, GatewayOrigin::RoutingTable);
    return true;
}

bool HostNetwork::IsIPAddrResponsive(Ipv4Address destination, MacAddress* mac, Ipv4Address source) {
    constexpr std::uint32_t kMacLength = 6;
    std::array<std::uint8_t, 8> buffer{};
    auto length = static_cast<std::uint32_t>(buffer.size());
    const std::uint32_t code = m_sources.tables.SendARP(destination, source, buffer.data(), &length);
    const bool responsive = code == 0 && length == kMacLength;
    if (mac != nullptr) {
        std::array<std::uint8_t, kMacLength> bytes{};
        if (responsive) {
            std::copy_n(buffer.begin(), bytes.size(), bytes.begin());
        }
        *mac = MacAddress(bytes);
    }
    return responsive;
}

void HostNetwork::IndexAdapters() {
    m_maskByAdapterAddress.clear();
    m_adapterMacs.clear();
    for (const ADAPTER_INFO_LIST_ENTRY& entry : m_adapters) {
        if (entry.IPAddr != 0) { // 0: the adapter has no address
            m_maskByAdapterAddress.try_emplace(entry.IPAddr, Ipv4Address::FromMemory(entry.IPAddrMask));
        }
        m_adapterMacs.insert(MacKey(MacOf(entry)));
    }
}

void HostNetwork::IndexAddresses() {
    m_addressByInterface.clear();
    m_maskByAddress.clear();
    if (m_addresses) {
        for (const AddressRow& row : *m_addresses) {
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

} // namespace vnxtest
