// The ARP probe of Linux: one exchange on the wire (RFC 826) through a packet socket.
#pragma once

#include <cstdint>

#include "wrenlib/address.h"

namespace vnxtest {

// Asks for the MAC address of `destination` on the interface that owns `source`, or, with source
// 0.0.0.0, on the one the routing table chooses. Three requests, one second in all. Where packet
// sockets are not allowed the kernel is made to ask (by an empty datagram to the discard port) and
// its neighbour table is read. An address of the host itself is answered from its interface.
// 0 with the address in `mac`, or an errno value; ETIMEDOUT when nobody answered.
std::uint32_t ProbeArp(Ipv4Address destination, Ipv4Address source, MacAddress& mac);

} // namespace vnxtest
