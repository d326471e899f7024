// The ICMP echo messages (RFC 792) of the stations of the simulated LAN, in IPv4 packets (RFC 791).
//
// Checks what a careful host checks (RFC 1122) and reads nothing outside the bytes given.
#pragma once

#include <cstdint>
#include <span>

#include "packets/icmp_echo.h"
#include "packets/ipv4_packet.h"
#include "vnetx/sim/sim_fate.h"
#include "wrenlib/address.h"

namespace vnxtest {

struct SimEcho {
    Ipv4Address source;
    Ipv4Address destination;
    std::uint8_t typeOfService = 0;
    std::uint8_t type = 0;
    std::uint16_t identifier = 0;
    std::uint16_t sequence = 0;
    std::span<const std::uint8_t> data{}; // within the parsed bytes
};

enum class SimEchoCheck {
    Good,
    NotEcho, // a sound IPv4 packet that holds something else
    Bad,     // cut short, a fragment, or a wrong version, length or checksum
};

// Parses the packet at the beginning of `bytes` (padding may follow it). Sets `echo` if Good.
SimEchoCheck ParseSimEcho(std::span<const std::uint8_t> bytes, SimEcho& echo);

// The length of the IPv4 packet that holds `echo`.
constexpr std::size_t SimEchoLength(const SimEcho& echo) {
    return Ipv4View::kLength + IcmpEchoView::kLength + echo.data.size();
}

struct SimEchoHeader {
    std::uint8_t timeToLive = 64;
    std::uint16_t identification = 0;
    bool dontFragment = false;
};

// Writes the packet, checksums and all, to `out`, which has room for SimEchoLength(echo) bytes.
void BuildSimEcho(const SimEcho& echo, const SimEchoHeader& header, std::span<std::uint8_t> out);

// Damages a finished packet by its fate (corrupted, truncated) and returns the length that is left.
std::size_t DamageSimPacket(std::span<std::uint8_t> packet, const SimFate& fate);

} // namespace vnxtest
