// The ARP probe of Linux: one exchange on the wire (RFC 826) through a packet socket.
#pragma once

#include "wrenlib/address.h"
#include "wrenlib/failure.h"

namespace vnxtest {

// Asks for the MAC address of `destination` on the interface that owns `source`, or, with source 0.0.0.0,
// on the one the routing table chooses. Three requests, one second in all. If packet sockets are not
// allowed, an empty datagram to the discard port makes the kernel ask, and its neighbour table is read. An
// address of the host itself is answered from its interface. Fails with an errno value, ETIMEDOUT without an
// answer. Blocks; any thread.
Result<MacAddress> ProbeArp(Ipv4Address destination, Ipv4Address source);

} // namespace vnxtest
