// The IPv4 addresses of this host as the kernel tells them, and those that the program gives its own links.
//
// Linux only. All functions may run on any thread, ask at the call and keep nothing; they fail with the
// kernel's own errno value.
#pragma once

#include <cstdint>
#include <vector>

#include "wrenlib/address.h"
#include "wrenlib/failure.h"

namespace vnxtest {

struct KernelAddress {
    std::uint32_t link = 0; // its index
    Ipv4Address address;
    Ipv4Address mask;
    bool expires = false; // it has a lifetime, as a lease does
};

// In the kernel's order: link by link, a link's primary address first.
Result<std::vector<KernelAddress>> ListAddresses();

// Gives the link the address `own` with the one host `peer` behind it, or takes it away. The route to the
// peer comes and goes with it.
Result<void> AddPeerAddress(std::uint32_t link, Ipv4Address own, Ipv4Address peer);
Result<void> RemovePeerAddress(std::uint32_t link, Ipv4Address own, Ipv4Address peer);

} // namespace vnxtest
