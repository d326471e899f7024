// The Ethernet II header: 14 bytes, without preamble and frame check sequence (IEEE 802.3).
//
// EthernetView reads and writes the header in place.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "packets/wire.h"

namespace vnxtest {

inline constexpr std::uint16_t kEtherTypeIpv4 = 0x0800;
inline constexpr std::uint16_t kEtherTypeArp = 0x0806;
inline constexpr std::uint16_t kEtherTypeRarp = 0x8035;

template <PacketByte Byte>
class BasicEthernetView {
public:
    static constexpr std::size_t kLength = 14;

    // The view over the first 14 bytes of `frame`, or nothing when it is shorter.
    static std::optional<BasicEthernetView> Over(std::span<Byte> frame) {
        if (frame.size() < kLength) {
            return std::nullopt;
        }
        return BasicEthernetView(frame.template first<kLength>());
    }

    MacAddress Destination() const { return LoadMac<0>(m_bytes); }
    MacAddress Source() const { return LoadMac<6>(m_bytes); }
    std::uint16_t EtherType() const { return LoadBe16<12>(m_bytes); }

    void SetDestination(MacAddress mac) { StoreMac<0>(m_bytes, mac); }
    void SetSource(MacAddress mac) { StoreMac<6>(m_bytes, mac); }
    void SetEtherType(std::uint16_t type) { StoreBe16<12>(m_bytes, type); }

private:
    explicit BasicEthernetView(std::span<Byte, kLength> bytes) : m_bytes(bytes) {}
    std::span<Byte, kLength> m_bytes;
};

using EthernetView = BasicEthernetView<std::uint8_t>;
using ConstEthernetView = BasicEthernetView<const std::uint8_t>; // reads only

} // namespace vnxtest
