// Packets for tests: echo messages with right checksums.
#pragma once

#include <cstdint>

#include "packets/checksum.h"
#include "support/hex.h"

namespace vnxtest {

inline void PutBe16(Frame& bytes, std::size_t offset, std::uint16_t value) {
    bytes[offset] = static_cast<std::uint8_t>(value >> 8);
    bytes[offset + 1] = static_cast<std::uint8_t>(value);
}

// Renews both checksums of an IP packet that holds an ICMP message.
inline void MendChecksums(Frame& packet) {
    PutBe16(packet, 10, 0);
    PutBe16(packet, 10, InetChecksum(std::span(packet).first(20)));
    PutBe16(packet, 22, 0);
    PutBe16(packet, 22, InetChecksum(std::span(packet).subspan(20)));
}

// An echo message of `type` (8 request, 0 reply) from 10.1.2.1 to 10.1.2.111 with four bytes of data.
inline Frame EchoPacket(std::uint8_t type) {
    Frame packet = Hex("4500 0020 1234 0000 40 01 0000 0A010201 0A01026F 00 00 0000 0102 0304 61626364");
    packet[20] = type;
    MendChecksums(packet);
    return packet;
}

} // namespace vnxtest
