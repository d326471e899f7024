// Building an echo request as the guest sends it (RFC 791, RFC 792).
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "packets/icmp_echo.h"
#include "packets/ipv4_packet.h"
#include "vnetx/library.h"
#include "wrenlib/address.h"

namespace vnxtest {

// What stands in front of the data of a ping: the IPv4 and the ICMP header.
inline constexpr std::size_t kPingHeaders = Ipv4View::kLength + IcmpEchoView::kLength;

// Both take the whole IP packet in `packet` (kPingHeaders and the data). Any thread.

// Fills in what all pings of a test share: the IPv4 header with its checksum (Don't-Fragment, time to live
// 64), the ICMP type and identifier (network order), and the data: a to z and 0 to 9, repeated.
void BuildEchoRequest(std::span<std::uint8_t> packet, VnetxLibrary& library, Ipv4Address source,
                      Ipv4Address target, std::uint16_t icmpId);

// Sets the sequence number (network order) and the ICMP checksum, which it returns as it stands in the
// packet.
std::uint16_t SetEchoSequence(std::span<std::uint8_t> packet, VnetxLibrary& library, std::uint16_t icmpSeq);

} // namespace vnxtest
