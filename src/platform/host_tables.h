// The host's network parameters, IPv4 routes and IPv4 addresses, and the ARP probe.
//
// HostTables is what the operating system answers, call for call: fill a buffer of this size, or
// say how large it must be. The loops that grow the buffer and the decoding stand above it and are
// the same on every platform. Tests put a faulty HostTables there, the simulated LAN a longer one.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "wrenlib/address.h"

namespace vnxtest {

// The codes by which a call says that its buffer is too small. They are Windows' numbers on every
// platform: no source returns them for anything else.
inline constexpr std::uint32_t kErrorBufferOverflow = 111;
inline constexpr std::uint32_t kErrorInsufficientBuffer = 122;

// SendARP's code when nobody answered: what the system's own call says then.
extern const std::uint32_t kErrorNoAnswer;

// The NetBIOS node types. Where there is no NetBIOS the type is 0.
enum class NodeType : std::uint32_t { Unknown = 0, Broadcast = 1, PeerToPeer = 2, Mixed = 4, Hybrid = 8 };

struct NetworkParameters {
    std::wstring hostName;
    NodeType nodeType = NodeType::Unknown;
    std::vector<std::wstring> dnsServers; // address texts, IPv4 and IPv6, in order; a remark may follow
    bool enableRouting = false;           // the host forwards packets between its adapters
};

struct RouteRow {
    Ipv4Address destination;
    Ipv4Address mask;
    Ipv4Address nextHop;              // 0.0.0.0 when the destination is on the link
    std::uint32_t interfaceIndex = 0; // 0 when the route leads to no interface
    std::uint32_t metric = 0;
    bool refuses = false; // packets are refused or dropped: there is no next hop

    bool IsDefault() const { return destination.IsZero() && !refuses; }
};

struct AddressRow {
    Ipv4Address address;
    Ipv4Address mask;
    std::uint32_t interfaceIndex = 0;
};

// One row of the route table as the system fills it (MIB_IPFORWARDROW): a 32-bit row count comes
// first, then the rows without a gap. Addresses in network order.
struct RawRouteRow {
    std::uint32_t destination = 0;
    std::uint32_t mask = 0;
    std::uint32_t policy = 0;
    std::uint32_t nextHop = 0;
    std::uint32_t interfaceIndex = 0;
    std::uint32_t type = 0; // kRouteTypeInvalid: refuses
    std::uint32_t protocol = 0;
    std::uint32_t age = 0;
    std::uint32_t nextHopSystem = 0;
    std::uint32_t metrics[5] = {};
};
inline constexpr std::uint32_t kRouteTypeInvalid = 2;

// One row of the address table (MIB_IPADDRROW), behind a 32-bit row count like the routes.
struct RawAddressRow {
    std::uint32_t address = 0;
    std::uint32_t interfaceIndex = 0;
    std::uint32_t mask = 0;
    std::uint32_t broadcast = 0;
    std::uint32_t reassemblySize = 0;
    std::uint16_t unused = 0;
    std::uint16_t type = 0;
};

// The buffers grow by whole elements: the size of a network parameters block, and of a table with
// one row.
inline constexpr std::uint32_t kNetworkParamsElement = 600;
inline constexpr std::uint32_t kRouteTableElement = 60;
inline constexpr std::uint32_t kAddressTableElement = 28;
static_assert(sizeof(RawRouteRow) + 4 == kRouteTableElement);
static_assert(sizeof(RawAddressRow) + 4 == kAddressTableElement);

// The raw source. Each Get call takes `size` bytes at `buffer` (8-byte aligned). 0: filled. A buffer
// that is too small yields kErrorInsufficientBuffer or kErrorBufferOverflow with the needed size in
// `size`. Anything else is the code of the failure (FormatLastError knows its text). User-interface
// thread.
class HostTables {
public:
    virtual ~HostTables() = default;

    virtual std::uint32_t GetNetworkParams(void* buffer, std::uint32_t* size) = 0;
    // Ordered by destination.
    virtual std::uint32_t GetIpForwardTable(void* buffer, std::uint32_t* size) = 0;
    virtual std::uint32_t GetIpAddrTable(void* buffer, std::uint32_t* size) = 0;

    // What GetNetworkParams of the same object put into `buffer`.
    virtual NetworkParameters DecodeNetworkParams(const std::vector<std::uint8_t>& buffer) const = 0;

    // Asks on the wire for the MAC address of `destination` (RFC 826); source 0.0.0.0 lets the system
    // choose. 0: up to `*length` bytes of it are in `mac` and the count is in `*length`. Bounded: about
    // one second here, the system's own bound on Windows.
    virtual std::uint32_t SendARP(Ipv4Address destination, Ipv4Address source, std::uint8_t* mac,
                                  std::uint32_t* length) = 0;
};

// The operating system's own tables.
std::unique_ptr<HostTables> MakeHostTables();

// Calls `fill` with a zeroed buffer of max(1, ceil(size / element)) elements, beginning with one, for as
// long as it answers "too small". Returns its last answer; `buffer` is empty unless that is 0. A
// source that never has enough is given up after some rounds with its own code.
std::uint32_t FetchGrowing(std::uint32_t element,
                           const std::function<std::uint32_t(void*, std::uint32_t*)>& fill,
                           std::vector<std::uint8_t>& buffer);

// The three tables by FetchGrowing. 0, or the code of the failure with an empty result.
std::uint32_t ReadNetworkParameters(HostTables& tables, std::optional<NetworkParameters>& parameters);
std::uint32_t ReadRoutes(HostTables& tables, std::optional<std::vector<RouteRow>>& routes);
std::uint32_t ReadAddresses(HostTables& tables, std::optional<std::vector<AddressRow>>& addresses);

// Copies a table (row count and rows) into a caller's buffer, or asks for a larger one: the sources'
// half of the bargain.
std::uint32_t FillFrom(const void* bytes, std::size_t length, void* buffer, std::uint32_t* size);

} // namespace vnxtest
