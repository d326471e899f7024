// The network links of this host as the kernel tells them, and the few changes to one that the program makes.
//
// Linux only. All functions may run on any thread, ask at the call and keep nothing; they fail with the
// kernel's own errno value.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "wrenlib/address.h"
#include "wrenlib/failure.h"

namespace vnxtest {

struct KernelLink {
    std::uint32_t index = 0; // not 0
    std::string name;
    unsigned hardwareType = 0;     // ARPHRD_ of net/if_arp.h
    unsigned flags = 0;            // IFF_ of linux/if.h
    unsigned promiscuity = 0;      // how many have asked for promiscuous mode
    std::optional<MacAddress> mac; // nullopt if the link has no address of six bytes
    std::uint32_t mtu = 0;
    std::uint32_t master = 0;          // the bridge or bond of which it is a port; 0: it is none
    std::uint32_t below = 0;           // the link that it stands on, as a VLAN does; 0: none
    std::optional<std::uint16_t> vlan; // the identifier of a VLAN
    std::string kind;                  // "bridge", "veth"; empty for hardware
    std::string alias;                 // the user's text
    std::uint64_t sendDrops = 0;       // frames dropped on sending
};

// In the kernel's order, by their indexes.
Result<std::vector<KernelLink>> ListLinks();

// ENODEV if there is no link of this index.
Result<KernelLink> FindLink(std::uint32_t index);

struct LinkChange {
    std::uint32_t mtu = 0;         // bytes; 0: as it is
    std::uint32_t queueLength = 0; // frames; 0: as it is
    std::optional<bool> up;        // nullopt: as it is
};
Result<void> ChangeLink(std::uint32_t index, const LinkChange& change);

// Keeps the kernel from giving the link an IPv6 address and from sending solicitations on it. Older kernels
// refuse this.
Result<void> LeaveOutIpv6(std::uint32_t index);

} // namespace vnxtest
