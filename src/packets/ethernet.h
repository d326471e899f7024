// The Ethernet II header: 14 bytes, without preamble and frame check sequence (IEEE 802.3).
//
// EthernetView reads and writes the header in place; EthernetHeader is a value to be emitted.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>

#include "packets/wire.h"

namespace vnxtest {

inline constexpr std::uint16_t kEtherTypeIpv4 = 0x0800;
inline constexpr std::uint16_t kEtherTypeArp = 0x0806;
inline constexpr std::uint16_t kEtherTypeRarp = 0x8035;
inline constexpr std::uint16_t kEtherTypeVlan = 0x8100;

struct EthernetHeader {
    MacAddress destination;
    MacAddress source;
    std::uint16_t etherType = 0;
};

template <PacketByte Byte>
class BasicEthernetView {
public:
    static constexpr std::size_t kLength = 14;
    static constexpr std::size_t kDestinationOffset = 0, kSourceOffset = 6, kEtherTypeOffset = 12;

    constexpr explicit BasicEthernetView(std::span<Byte, kLength> bytes) : m_bytes(bytes) {}
    // The view over the first 14 bytes of `frame`, or nullopt if it is shorter.
    static std::optional<BasicEthernetView> Over(std::span<Byte> frame) {
        if (frame.size() < kLength) {
            return std::nullopt;
        }
        return BasicEthernetView(frame.template first<kLength>());
    }

    MacAddress Destination() const { return LoadMac<kDestinationOffset>(m_bytes); }
    MacAddress Source() const { return LoadMac<kSourceOffset>(m_bytes); }
    std::uint16_t EtherType() const { return LoadBe16<kEtherTypeOffset>(m_bytes); }

    void SetDestination(MacAddress mac) { StoreMac<kDestinationOffset>(m_bytes, mac); }
    void SetSource(MacAddress mac) { StoreMac<kSourceOffset>(m_bytes, mac); }
    void SetEtherType(std::uint16_t type) { StoreBe16<kEtherTypeOffset>(m_bytes, type); }

    void Emit(const EthernetHeader& header) {
        SetDestination(header.destination);
        SetSource(header.source);
        SetEtherType(header.etherType);
    }

private:
    std::span<Byte, kLength> m_bytes;
};

using EthernetView = BasicEthernetView<std::uint8_t>;
using ConstEthernetView = BasicEthernetView<const std::uint8_t>; // reads only

// A VLAN tag (IEEE 802.1Q) stands between the two addresses and the type.
inline constexpr std::size_t kVlanTagLength = 4;

// Puts a tag into a frame, whose two addresses stand in the last 12 bytes of `head` and move to the first
// 12. `type` (0x8100) and `control` (priority and VLAN identifier) are in host order.
inline void InsertVlanTag(std::span<std::uint8_t, EthernetView::kEtherTypeOffset + kVlanTagLength> head,
                          std::uint16_t type, std::uint16_t control) {
    constexpr std::size_t kAddresses = EthernetView::kEtherTypeOffset;
    std::memmove(head.data(), head.data() + kVlanTagLength, kAddresses); // they may overlap
    StoreBe16<kAddresses>(head, type);
    StoreBe16<kAddresses + 2>(head, control);
}

// The group address of an IPv4 multicast packet (RFC 1112, section 6.4).
constexpr MacAddress MulticastMac(Ipv4Address group) {
    const auto& bytes = group.Bytes();
    return MacAddress({0x01, 0x00, 0x5E, static_cast<std::uint8_t>(bytes[1] & 0x7F), bytes[2], bytes[3]});
}

} // namespace vnxtest
