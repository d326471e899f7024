// The IPv4 addresses of this host as the kernel tells them, and those that the program gives its own links.
//
// Linux only. All functions may run on any thread, ask at the call and keep nothing; they return 0 or an
// errno value.
#pragma once

#include <cstdint>
#include <vector>

#include "wrenlib/address.h"

namespace vnxtest {

struct KernelAddress {
    std::uint32_t link = 0; // its index
    Ipv4Address address;
    Ipv4Address mask;
    bool expires = false; // it has a lifetime, as a lease does
};

// In the kernel's order: link by link, a link's primary address first.
int ListAddresses(std::vector<KernelAddress>& addresses);

// Gives the link the address `own` with the one host `peer` behind it, or takes it away. The route to the
// peer comes and goes with it.
int AddPeerAddress(std::uint32_t link, Ipv4Address own, Ipv4Address peer);
int RemovePeerAddress(std::uint32_t link, Ipv4Address own, Ipv4Address peer);

} // namespace vnxtest
