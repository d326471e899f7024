// Which one of several host adapters with the same MAC address is meant by that address.
//
// A bridge and a bond have the MAC address of one of their ports, a VLAN has that of the adapter below it.
// The host adapter library, whose first adapter with a MAC address counts, and the built-in interface
// libraries, which open adapters by it, must choose alike.
#pragma once

#include <compare>
#include <cstdint>

namespace vnxtest {

// What decides, in the order in which it counts; the lowest rank is the one that is meant. The aggregate's
// members are compared as they stand here.
struct AdapterRank {
    bool hasNoDefaultRoute = true; // the host's best default route does not lead through it
    bool hasNoAddress = true;      // it is down or has no IPv4 address
    bool isPort = false;           // of a bridge or a bond, which takes what comes in on it
    bool isDown = false;
    std::uint32_t index = 0; // the system's number of the adapter

    auto operator<=>(const AdapterRank&) const = default;
};

} // namespace vnxtest
