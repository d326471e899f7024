#include "vnetx/sim_echo.h"

#include <algorithm>

#include "vnetx/checksum.h"
#include "vnetx/wire_format.h"

namespace vnxtest {

namespace {

constexpr std::size_t kIcmpHeaderLength = IcmpEchoView::kLength;
constexpr std::uint16_t kDontFragmentBit = 0x4000;
constexpr std::uint16_t kFragmentMask = 0x3FFF; // More-Fragments and the fragment offset

// A header or message that carries its own checksum sums up to this (RFC 1071).
constexpr std::uint16_t kSumIsRight = 0;

} // namespace

SimEchoCheck ParseSimEcho(std::span<const std::uint8_t> bytes, SimEcho& echo) {
    if (bytes.size() < kIpv4HeaderLength || bytes[0] >> 4 != 4) {
        return SimEchoCheck::Bad;
    }
    const std::size_t headerLength = static_cast<std::size_t>(bytes[0] & 0x0F) * 4;
    const std::size_t totalLength = LoadBe16(&bytes[2]);
    if (headerLength < kIpv4HeaderLength || totalLength < headerLength || totalLength > bytes.size() ||
        InetChecksum(bytes.data(), headerLength) != kSumIsRight) {
        return SimEchoCheck::Bad;
    }
    if ((LoadBe16(&bytes[6]) & kFragmentMask) != 0) {
        return SimEchoCheck::Bad; // the guest sends whole packets, so nobody here puts pieces together
    }
    const auto message = bytes.subspan(headerLength, totalLength - headerLength);
    if (bytes[9] != kIpProtocolIcmp) {
        return SimEchoCheck::NotEcho;
    }
    if (message.size() < kIcmpHeaderLength || InetChecksum(message.data(), message.size()) != kSumIsRight) {
        return SimEchoCheck::Bad;
    }
    if ((message[0] != kIcmpEchoRequest && message[0] != kIcmpEchoReply) || message[1] != 0) {
        return SimEchoCheck::NotEcho;
    }
    echo.source = LoadIpv4(&bytes[12]);
    echo.destination = LoadIpv4(&bytes[16]);
    echo.typeOfService = bytes[1];
    echo.type = message[0];
    echo.identifier = LoadBe16(&message[4]);
    echo.sequence = LoadBe16(&message[6]);
    echo.data = message.subspan(kIcmpHeaderLength);
    return SimEchoCheck::Good;
}

void BuildSimEcho(const SimEcho& echo, const SimEchoHeader& header, std::uint8_t* out) {
    const std::size_t length = SimEchoLength(echo);
    out[0] = 0x45;
    out[1] = echo.typeOfService;
    StoreBe16(out + 2, static_cast<std::uint16_t>(length));
    StoreBe16(out + 4, header.identification);
    StoreBe16(out + 6, header.dontFragment ? kDontFragmentBit : std::uint16_t{0});
    out[8] = header.timeToLive;
    out[9] = kIpProtocolIcmp;
    StoreBe16(out + 10, 0);
    StoreIpv4(out + 12, echo.source);
    StoreIpv4(out + 16, echo.destination);
    StoreBe16(out + 10, InetChecksum(out, kIpv4HeaderLength));

    std::uint8_t* message = out + kIpv4HeaderLength;
    message[0] = echo.type;
    message[1] = 0;
    StoreBe16(message + 2, 0);
    StoreBe16(message + 4, echo.identifier);
    StoreBe16(message + 6, echo.sequence);
    std::copy(echo.data.begin(), echo.data.end(), message + kIcmpHeaderLength);
    StoreBe16(message + 2, InetChecksum(message, length - kIpv4HeaderLength));
}

std::size_t DamageSimPacket(std::span<std::uint8_t> packet, const SimFate& fate) {
    if (fate.corrupted) {
        const std::uint64_t bit = fate.random % (packet.size() * 8);
        packet[bit / 8] ^= static_cast<std::uint8_t>(1u << (bit % 8));
    }
    // At least one byte goes and at least one stays.
    return fate.truncated ? 1 + (fate.random >> 32) % (packet.size() - 1) : packet.size();
}

} // namespace vnxtest
