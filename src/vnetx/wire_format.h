// Ethernet II headers and ARP packets on Ethernet (RFC 826), as the built-in libraries read and
// write them.
//
// Parsing takes any bytes and yields nothing when they are too few or of another kind; building
// writes into space that the caller provides. Both are pure and may run on any thread.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "packets/arp_packet.h"
#include "packets/ethernet.h"
#include "packets/ipv4_packet.h"
#include "wrenlib/address.h"

namespace vnxtest {

inline constexpr std::size_t kEthernetHeaderLength = EthernetView::kLength;
inline constexpr std::size_t kArpLength = ArpView::kLength;
inline constexpr std::size_t kArpFrameLength = kEthernetHeaderLength + kArpLength;
inline constexpr std::size_t kIpv4HeaderLength = Ipv4View::kLength;
inline constexpr auto kArpRequest = static_cast<std::uint16_t>(ArpOperation::Request);
inline constexpr auto kArpReply = static_cast<std::uint16_t>(ArpOperation::Reply);

// At a place that is known when the program runs; the caller knows that the bytes are there.
constexpr std::uint16_t LoadBe16(const std::uint8_t* bytes) {
    return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

constexpr void StoreBe16(std::uint8_t* bytes, std::uint16_t value) {
    bytes[0] = static_cast<std::uint8_t>(value >> 8);
    bytes[1] = static_cast<std::uint8_t>(value);
}

constexpr Ipv4Address LoadIpv4(const std::uint8_t* bytes) {
    return Ipv4Address(bytes[0], bytes[1], bytes[2], bytes[3]);
}

constexpr MacAddress LoadMac(const std::uint8_t* bytes) {
    return MacAddress({bytes[0], bytes[1], bytes[2], bytes[3], bytes[4], bytes[5]});
}

constexpr void StoreIpv4(std::uint8_t* bytes, Ipv4Address address) {
    std::copy(address.Bytes().begin(), address.Bytes().end(), bytes);
}

constexpr void StoreMac(std::uint8_t* bytes, MacAddress mac) {
    std::copy(mac.Bytes().begin(), mac.Bytes().end(), bytes);
}

struct EthernetHeader {
    MacAddress destination;
    MacAddress source;
    std::uint16_t type = 0;
};

// The header of `frame`, or nothing when it is shorter than one.
inline std::optional<EthernetHeader> ParseEthernetHeader(std::span<const std::uint8_t> frame) {
    const auto view = ConstEthernetView::Over(frame);
    if (!view) {
        return std::nullopt;
    }
    return EthernetHeader{view->Destination(), view->Source(), view->EtherType()};
}

// Writes the 14 bytes of the header to `out`.
constexpr void BuildEthernetHeader(std::uint8_t* out, const EthernetHeader& header) {
    StoreMac(out, header.destination);
    StoreMac(out + 6, header.source);
    StoreBe16(out + 12, header.type);
}

struct ArpPacket {
    std::uint16_t operation = 0;
    MacAddress senderMac;
    Ipv4Address senderIp;
    MacAddress targetMac;
    Ipv4Address targetIp;
};

// The ARP packet in `payload` (what follows the Ethernet header; padding may follow it), or nothing
// when it is shorter than 28 bytes or is not about Ethernet and IPv4 addresses.
inline std::optional<ArpPacket> ParseArp(std::span<const std::uint8_t> payload) {
    const auto view = ConstArpView::Over(payload);
    if (!view || !view->IsEthernetIpv4()) {
        return std::nullopt;
    }
    return ArpPacket{static_cast<std::uint16_t>(view->Operation()), view->SenderHardwareAddress(),
                     view->SenderProtocolAddress(), view->TargetHardwareAddress(),
                     view->TargetProtocolAddress()};
}

// The whole frame of an ARP packet, without padding.
constexpr std::array<std::uint8_t, kArpFrameLength> BuildArpFrame(MacAddress destination, MacAddress source,
                                                                  const ArpPacket& packet) {
    std::array<std::uint8_t, kArpFrameLength> frame{};
    BuildEthernetHeader(frame.data(), {destination, source, kEtherTypeArp});
    std::uint8_t* bytes = frame.data() + kEthernetHeaderLength;
    StoreBe16(bytes, 1);
    StoreBe16(bytes + 2, kEtherTypeIpv4);
    bytes[4] = 6;
    bytes[5] = 4;
    StoreBe16(bytes + 6, packet.operation);
    StoreMac(bytes + 8, packet.senderMac);
    StoreIpv4(bytes + 14, packet.senderIp);
    StoreMac(bytes + 18, packet.targetMac);
    StoreIpv4(bytes + 24, packet.targetIp);
    return frame;
}

} // namespace vnxtest
