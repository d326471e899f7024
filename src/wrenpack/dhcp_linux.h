// Whether an adapter got its address by DHCP, as far as Linux can tell.
//
// The kernel does not know who set an address. What gives DHCP away is an address with a lifetime, a
// route that the DHCP client marked as its own, or the lease file of one of the common clients. None of
// these proves that DHCP is off.
#pragma once

#include <cstdint>
#include <string>

#include "wrenlib/address.h"

namespace vnxtest {

// True when a lease of `address` on the interface lies where one of the common clients keeps it, below
// the folder `root` (empty: the system's own). A lease of another address proves nothing.
bool HasDhcpLease(const std::string& root, const std::string& interfaceName, std::uint32_t interfaceIndex,
                  Ipv4Address address);

} // namespace vnxtest
