// The host's own networking as the program knows it: network parameters, routes, addresses, the
// adapters, the default adapter and the default gateway.
//
// Gathered at start-up and again by "Re-detect adapters", all of it each time, so that it is of one moment.
// A part that cannot be gathered stays empty and is traced; no failure ends the program. The default
// gateway that the user defined outlives a gathering. User-interface thread unless a function says
// otherwise.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "platform/network/host_tables.h"
#include "wrenlib/address.h"
#include "wrenpack/wrenpack.h"

namespace vnxtest {

// The sources of the host's data: the platform's and the adapter library's. A test injects faults here, and
// the simulated LAN adds its adapter.
struct HostSources {
    HostTables& tables; // network parameters, routes, addresses, ARP probe (platform/network/host_tables.h)
    WrenPackLibrary& adapters; // the host adapter library (wrenpack/wrenpack.h)
    // The MAC address, in text, of the adapter that the interface library uses by default; empty when it has
    // none. Asked at each gathering.
    std::function<std::wstring()> defaultAdapterMac;
};

class HostNetwork {
public:
    explicit HostNetwork(HostSources sources) : m_sources(std::move(sources)) {}

    // Gathers tables, adapter list and default adapter, and probes the default adapter's gateway. Once, at
    // the start. Waits for one bounded probe at most.
    void InitGlobals();

    // Builds the adapter list if there is none yet; true if there is one afterwards.
    bool InitFPAdaptersList();

    // Gathers everything again: tables, adapter list, default adapter and, unless the user defined it, the
    // default gateway. Only while the guest is stopped. True if there is a list of adapters. Waits for one
    // bounded probe at most.
    bool RedetectAdapters();
    // Its part for adapters: addresses, adapter list and default adapter. Sends no probe.
    bool GatherAdapters();

    // The adapters in list order; empty if there is no list.
    const std::vector<HostAdapter>& Adapters() const { return m_adapters; }
    // The default adapter; null if it is undefined.
    const HostAdapter* DefaultAdapter() const { return m_defaultAdapter ? &*m_defaultAdapter : nullptr; }
    bool IsDefaultAdapter(const HostAdapter& adapter) const { return m_defaultAdapter == adapter; }
    const std::wstring& DefaultAdapterIpText() const { return m_defaultAdapterIpText; }

    const std::optional<NetworkParameters>& Parameters() const { return m_parameters; }
    const std::optional<std::vector<HostRoute>>& Routes() const { return m_routes; }
    const std::optional<std::vector<HostAddress>>& Addresses() const { return m_addresses; }
    // True if the host forwards packets between its adapters; false also if that is not known.
    bool IpForwardingEnabled() const;

    // The default gateway: taken from the routing table (FindDefaultGateway) or defined by the user. The
    // MAC is zero if the gateway is not known or did not answer.
    bool HasDefaultGateway() const { return m_gatewayOrigin != GatewayOrigin::None; }
    Ipv4Address DefaultGateway() const { return m_gateway; }
    MacAddress DefaultGatewayMac() const { return m_gatewayMac; }
    const std::wstring& DefaultGatewayText() const { return m_gatewayText; }
    const std::wstring& DefaultGatewayMacText() const { return m_gatewayMacText; }
    // The user's gateway, which holds until the next call. Only while the guest is stopped.
    void SetDefaultGateway(Ipv4Address gateway, MacAddress mac);
    // Unless it is known already, takes the next hop of the last default route of the table and probes it.
    // True if it is known.
    bool FindDefaultGateway();

    // ARP probe (RFC 826): true if `destination` answered within the platform's bound, with its MAC in
    // `mac` (may be null; else zero). Source 0.0.0.0 lets the system choose.
    bool IsIPAddrResponsive(Ipv4Address destination, MacAddress* mac, Ipv4Address source);

    // The look-ups below use indexes: their cost does not grow with the tables. Any thread while the guest
    // runs, since nothing is gathered then.

    // The text of the address of the first address row of the interface; empty if there is none.
    std::wstring GetInterfaceIPString(std::uint32_t interfaceIndex) const;
    // The mask of the first adapter with this address; 0.0.0.0 if there is none.
    Ipv4Address GetAdapterMaskByIP(Ipv4Address address) const;
    // The same; if no adapter has the address, the mask of the first address row with it.
    Ipv4Address GetHostMaskByIP(Ipv4Address address) const;
    bool IsAdapterIP(Ipv4Address address) const;
    bool IsAdapterMAC(MacAddress mac) const;
    // True if the first adapter with this MAC address has its driver segment large sends
    // (wrenpack/offload_settings.h). Asks the system.
    bool OffloadsLargeSends(MacAddress mac) const;

    const HostSources& Sources() const { return m_sources; }

private:
    enum class GatewayOrigin { None, RoutingTable, User };

    void GatherTables();
    void GatherAddresses();
    void TakeGateway(Ipv4Address gateway, MacAddress mac, GatewayOrigin origin);
    void FindDefaultAdapter();
    void ProbeDefaultAdapterGateway();
    void IndexAdapters();
    void IndexAddresses();

    HostSources m_sources;
    std::optional<NetworkParameters> m_parameters;
    std::optional<std::vector<HostRoute>> m_routes;
    std::optional<std::vector<HostAddress>> m_addresses;
    std::vector<HostAdapter> m_adapters;
    bool m_haveAdapters = false;
    std::unordered_map<std::uint32_t, Ipv4Address> m_addressByInterface;   // first row of each interface
    std::unordered_map<std::uint32_t, Ipv4Address> m_maskByAddress;        // first row of each address
    std::unordered_map<std::uint32_t, Ipv4Address> m_maskByAdapterAddress; // first adapter with it
    std::unordered_set<std::uint64_t> m_adapterMacs;
    std::optional<HostAdapter> m_defaultAdapter;
    std::wstring m_defaultAdapterIpText;
    GatewayOrigin m_gatewayOrigin = GatewayOrigin::None;
    Ipv4Address m_gateway;
    MacAddress m_gatewayMac;
    std::wstring m_gatewayText;
    std::wstring m_gatewayMacText;
};

} // namespace vnxtest
