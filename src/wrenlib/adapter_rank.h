// Which one of several host adapters with the same MAC address that address stands for.
//
// A bridge and a bond have the MAC address of one of their ports, a VLAN has that of the adapter below it.
// The host adapter library, whose first adapter with a MAC address counts, and the built-in interface
// libraries, which open adapters by it, must agree.
#pragma once

#include <compare>
#include <cstdint>

namespace vnxtest {

// The criteria in the order of their weight, which is the order of comparison; the lowest rank is chosen.
struct AdapterRank {
    bool hasNoDefaultRoute = true; // the host's best default route does not lead through it
    bool hasNoAddress = true;      // it is down or has no IPv4 address
    bool isPort = false;           // of a bridge or a bond, which takes its incoming frames
    bool isDown = false;
    std::uint32_t index = 0; // the system's number of the adapter

    auto operator<=>(const AdapterRank&) const = default;
};

} // namespace vnxtest
