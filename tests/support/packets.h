// Packets for tests: from hex text, and echo messages with right checksums.
#pragma once

#include <cstdint>
#include <string>

#include "support/scripted_library.h"
#include "vnetx/checksum.h"

namespace vnxtest {

// The bytes that `text` names in hex; blanks are passed over.
inline Frame Hex(std::string text) {
    std::erase(text, ' ');
    Frame bytes;
    for (std::size_t at = 0; at < text.size(); at += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(text.substr(at, 2), nullptr, 16)));
    }
    return bytes;
}

inline void PutBe16(Frame& bytes, std::size_t offset, std::uint16_t value) {
    bytes[offset] = static_cast<std::uint8_t>(value >> 8);
    bytes[offset + 1] = static_cast<std::uint8_t>(value);
}

// Renews both checksums of an IP packet that holds an ICMP message.
inline void MendChecksums(Frame& packet) {
    PutBe16(packet, 10, 0);
    PutBe16(packet, 10, InetChecksum(packet.data(), 20));
    PutBe16(packet, 22, 0);
    PutBe16(packet, 22, InetChecksum(packet.data() + 20, packet.size() - 20));
}

// An echo message of `type` (8 request, 0 reply) from 10.1.2.1 to 10.1.2.111 with four bytes of data.
inline Frame EchoPacket(std::uint8_t type) {
    Frame packet = Hex("4500 0020 1234 0000 40 01 0000 0A010201 0A01026F 00 00 0000 0102 0304 61626364");
    packet[20] = type;
    MendChecksums(packet);
    return packet;
}

} // namespace vnxtest
