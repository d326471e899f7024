// Which IPv4 addresses can be one host's own (RFC 1122, section 3.2.1.3; RFC 6890), and which two of a subnet
// cannot.
#pragma once

#include "wrenlib/address.h"

namespace vnxtest {

inline constexpr Ipv4Address kLimitedBroadcast(255, 255, 255, 255);

// 224.0.0.0/4: groups of hosts.
constexpr bool IsGroup(Ipv4Address address) {
    return (address.Bytes()[0] & 0xF0) == 0xE0;
}

// 240.0.0.0/4: reserved; the limited broadcast is among them.
constexpr bool IsReserved(Ipv4Address address) {
    return address.Bytes()[0] >= 240;
}

// Stands for one host on a network: not "this network" or loopback, no group, not the limited broadcast. The
// other reserved addresses pass, since there are hosts that use them.
constexpr bool IsUnicast(Ipv4Address address) {
    const std::uint8_t first = address.Bytes()[0];
    return first != 0 && first != 127 && !IsGroup(address) && address != kLimitedBroadcast;
}

// Whether a subnet of `mask` has a number and a broadcast address of its own: one of two addresses has not
// (RFC 3021), nor has one of a single address.
constexpr bool HasBroadcast(Ipv4Address mask) {
    return (~mask).Host() > 1;
}

// `address`, which is in a subnet of `mask`, is its broadcast address, the highest one.
constexpr bool IsSubnetBroadcast(Ipv4Address address, Ipv4Address mask) {
    return HasBroadcast(mask) && (address | mask) == kLimitedBroadcast;
}

// `address`, which is in a subnet of `mask`, is the subnet's number, the lowest one.
constexpr bool IsSubnetNumber(Ipv4Address address, Ipv4Address mask) {
    return HasBroadcast(mask) && (address & ~mask).IsZero();
}

} // namespace vnxtest
