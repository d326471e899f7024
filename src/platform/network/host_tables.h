// The host's network parameters, IPv4 routes and IPv4 addresses, and the ARP probe. Plain values, made by
// one source a platform (host_tables_linux.cpp, host_tables_windows.cpp).
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "wrenlib/address.h"
#include "wrenlib/failure.h"

namespace vnxtest {

// The NetBIOS node types; Unknown on a system without NetBIOS.
enum class NodeType : std::uint32_t { Unknown = 0, Broadcast = 1, PeerToPeer = 2, Mixed = 4, Hybrid = 8 };

struct NetworkParameters {
    std::wstring hostName;
    NodeType nodeType = NodeType::Unknown;
    std::vector<std::wstring> dnsServers; // address texts, IPv4 and IPv6, in order; a remark may follow
    std::optional<bool> forwardsPackets;  // between its adapters; nullopt: the system does not tell
};

struct HostRoute {
    Ipv4Address destination;
    Ipv4Address mask;
    Ipv4Address nextHop;              // 0.0.0.0: the destination is on the link
    std::uint32_t interfaceIndex = 0; // 0: the route leads to no interface
    std::uint32_t metric = 0;
    bool refuses = false; // packets are refused or dropped: there is no next hop

    bool IsDefault() const { return destination.IsZero() && !refuses; }
};

struct HostAddress {
    Ipv4Address address;
    Ipv4Address mask;
    std::uint32_t interfaceIndex = 0;
};

// The source. A Read function returns the whole present table. User-interface thread.
class HostTables {
public:
    virtual ~HostTables() = default;

    virtual Result<NetworkParameters> ReadParameters() = 0;
    // Ordered by destination.
    virtual Result<std::vector<HostRoute>> ReadRoutes() = 0;
    // The primary address of an interface comes first.
    virtual Result<std::vector<HostAddress>> ReadAddresses() = 0;

    // Asks on the wire for the MAC address of `destination` (RFC 826); source 0.0.0.0 lets the system
    // choose. Nullopt without an answer or if it cannot ask. Blocks: about one second on Linux, the
    // system's own bound on Windows.
    virtual std::optional<MacAddress> SendARP(Ipv4Address destination, Ipv4Address source) = 0;
};

// The operating system's own tables.
std::unique_ptr<HostTables> MakeHostTables();

} // namespace vnxtest
