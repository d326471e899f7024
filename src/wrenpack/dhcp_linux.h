// Whether an adapter got its address by DHCP, as far as Linux tells. Any thread.
//
// The kernel does not know who set an address. Evidence of DHCP is an address with a lifetime, a route
// marked by the DHCP client, or a lease file of a common client. Their absence does not prove that DHCP is
// off.
#pragma once

#include <cstdint>
#include <string>

#include "wrenlib/address.h"

namespace vnxtest {

// True if a common client keeps a lease of `address` on the interface, below the folder `root` (empty: the
// system's own). A lease of another address does not count.
bool HasDhcpLease(const std::string& root, const std::string& interfaceName, std::uint32_t interfaceIndex,
                  Ipv4Address address);

} // namespace vnxtest
