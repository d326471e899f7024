#include "hostnet/sim_host.h"

#include <algorithm>
#include <iterator>

#include "vnetx/sim/sim_lan.h"

namespace vnxtest {

namespace {

// No interface of a real host has this index, or a name as long as this one.
constexpr std::uint32_t kSimInterfaceIndex = 0x7FFFFFFE;
constexpr wchar_t kSimIdentifier[] = L"simulated-lan-adapter";
constexpr std::uint64_t kOneGigabit = 1'000'000'000;

HostAdapter SimAdapter() {
    HostAdapter adapter;
    adapter.driverName = DriverNameOf(kSimIdentifier);
    adapter.connection = L"simulated LAN";
    adapter.description = L"Simulated adapter: exists only inside this program (--library sim)";
    adapter.index = kSimInterfaceIndex;
    adapter.mac = kSimAdapterMac;
    adapter.address = kSimAdapterIp;
    adapter.mask = kSimNetMask;
    adapter.gateway = kSimGatewayIp;
    adapter.linkSpeed = kOneGigabit;
    adapter.mediaConnected = true;
    adapter.largestPacket = kSimDefaultMtu + kEthernetHeader;
    adapter.promiscuous = true;
    adapter.dhcp = false;
    return adapter;
}

// The address of a static object: unique among handles.
AdapterHandle SimHandle() {
    static char handle = 0;
    return &handle;
}

} // namespace

Result<std::vector<HostRoute>> SimHostTables::ReadRoutes() {
    auto routes = m_real.ReadRoutes();
    if (routes) {
        routes->push_back({{}, {}, kSimGatewayIp, kSimInterfaceIndex});
    }
    return routes;
}

Result<std::vector<HostAddress>> SimHostTables::ReadAddresses() {
    auto addresses = m_real.ReadAddresses();
    if (addresses) {
        addresses->push_back({kSimAdapterIp, kSimNetMask, kSimInterfaceIndex});
    }
    return addresses;
}

std::optional<MacAddress> SimHostTables::SendARP(Ipv4Address destination, Ipv4Address source) {
    if (!SimOnLan(destination)) {
        return m_real.SendARP(destination, source);
    }
    return SimIsStation(destination) ? std::optional(SimStationMac(SimStationNumber(destination)))
                                     : std::nullopt;
}

// If the real library fails or has no adapter, the simulated one is the only one.
Result<std::vector<HostAdapter>> SimWrenPack::ListAdapters() {
    auto adapters = m_real.ListAdapters().value_or(std::vector<HostAdapter>());
    adapters.push_back(SimAdapter());
    return adapters;
}

Result<AdapterHandle> SimWrenPack::OpenAdapter(const HostAdapter& adapter) {
    if (adapter.index == kSimInterfaceIndex) {
        return SimHandle();
    }
    return m_real.OpenAdapter(adapter);
}

void SimWrenPack::CloseAdapter(AdapterHandle handle) {
    if (handle != SimHandle()) {
        m_real.CloseAdapter(handle);
    }
}

void SimWrenPack::CloseAdapters(const std::vector<AdapterHandle>& handles) {
    std::vector<AdapterHandle> others;
    std::ranges::remove_copy(handles, std::back_inserter(others), SimHandle());
    m_real.CloseAdapters(others);
}

} // namespace vnxtest
