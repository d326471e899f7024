// The host's own network adapters as a built-in library needs them: what to capture on, their addresses,
// and the next hop of a packet.
//
// Everything is asked of the system at the call and nothing is kept, so that a change of an
// address, a route or an adapter is seen by the next call. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "wrenlib/address.h"

namespace vnxtest {

struct HostLinkAddress {
    Ipv4Address address;
    Ipv4Address mask;
};

struct HostLink {
    std::string captureName; // what libpcap opens
    std::uint32_t index = 0; // the system's number of the adapter, not 0
    MacAddress mac;          // zero if it has none
    std::uint32_t mtu = 0;
    bool up = false;
    bool carrier = false; // frames can pass, as far as the link tells
    bool loopback = false;
    std::vector<HostLinkAddress> addresses; // IPv4, the primary one first
};

// All adapters; empty with errno set if the query fails.
std::vector<HostLink> ListHostLinks();

// The adapter that has the address; one that is up before one that is down. Nullopt with errno ENODEV if
// there is none, or with the error of the query. Of several adapters with one MAC address, the first by
// wrenlib/adapter_rank.h.
std::optional<HostLink> FindHostLink(Ipv4Address address);
std::optional<HostLink> FindHostLink(MacAddress mac);
std::optional<HostLink> FindHostLinkByIndex(std::uint32_t index);
// The adapter that a library handle is opened by: `name` is a dotted IPv4 address or a MAC address.
std::optional<HostLink> FindHostLinkByText(std::string_view name);

// The adapter of the host's best default route; without one the first adapter that is up, has a MAC and an
// IPv4 address. Nullopt if there is none.
std::optional<HostLink> DefaultHostLink();

// ENODEV if the adapter is gone, ENETDOWN if it is down; else 0, also if the query fails.
int HostLinkHealth(std::uint32_t index);

// False if the adapter is up but has no carrier: frames sent are lost.
bool HostLinkHasCarrier(std::uint32_t index);

// The gateway to which the host's routes of adapter `index` send a packet for `destination`; nullopt if the
// destination is on the link or the adapter has no route to it.
std::optional<Ipv4Address> GatewayTowards(std::uint32_t index, Ipv4Address destination);

// Supplied by each platform: the number of the adapter with the best default route, or 0.
std::uint32_t DefaultRouteLinkIndex();
// Likewise: whether the adapter is a port of a bridge or a bond.
bool IsPortOfAnother(std::uint32_t index);

} // namespace vnxtest
