// Writing an IP packet to a virtual interface, with the Ethernet header that TAP mode needs.
#pragma once

#include <cstdint>
#include <span>

#include "core/interface_info.h"
#include "hostnet/host_network.h"

namespace vnxtest {

// Writes one IP packet. `frame` holds room for an Ethernet header (14 bytes) and the packet behind
// it; in TAP mode the header is filled in, in place, and written too. The destination MAC is that of
// the packet's destination when it is in the adapter's subnet and the library can resolve it; else
// the default gateway's, when it is known; else the adapter's. Returns true when everything was
// written; false, reported, otherwise. Any thread.
bool WritePingIPPacket(INTERFACE_INFO& info, HostNetwork& host, std::span<std::uint8_t> frame);

// Its two steps, for a caller with a lock: the first may wait for a neighbour's answer and belongs before
// the lock, the second does not.
void AddressPingFrame(INTERFACE_INFO& info, HostNetwork& host, std::span<std::uint8_t> frame);
bool WriteAddressedFrame(INTERFACE_INFO& info, HostNetwork& host, std::span<const std::uint8_t> frame);

} // namespace vnxtest
