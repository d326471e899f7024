// Reading and writing numbers and addresses in network byte order, at fixed places of a packet.
//
// A view over a packet is a span of fixed extent, made after one length check; the offset is a
// template argument and is checked against the extent when it is compiled, so that no accessor can
// reach outside, whatever the bytes. Bytes are copied from pointer to pointer: the standard library moves
// those at once, and bytes between two kinds of span one by one.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

#include "wrenlib/address.h"

namespace vnxtest {

// Bytes of a packet: std::uint8_t, or const std::uint8_t where they are only read.
template <typename Byte>
concept PacketByte = std::is_same_v<std::remove_const_t<Byte>, std::uint8_t>;

// The `Count` bytes of `bytes` from `Offset` on.
template <std::size_t Offset, std::size_t Count, PacketByte Byte, std::size_t Extent>
constexpr std::span<Byte, Count> Field(std::span<Byte, Extent> bytes) {
    static_assert(Extent != std::dynamic_extent && Offset + Count <= Extent);
    return bytes.template subspan<Offset, Count>();
}

template <std::size_t Offset, PacketByte Byte, std::size_t Extent>
constexpr std::uint16_t LoadBe16(std::span<Byte, Extent> bytes) {
    const auto field = Field<Offset, 2>(bytes);
    return static_cast<std::uint16_t>(field[0] << 8 | field[1]);
}

template <std::size_t Offset, std::size_t Extent>
constexpr void StoreBe16(std::span<std::uint8_t, Extent> bytes, std::uint16_t value) {
    const auto field = Field<Offset, 2>(bytes);
    field[0] = static_cast<std::uint8_t>(value >> 8);
    field[1] = static_cast<std::uint8_t>(value);
}

template <std::size_t Offset, PacketByte Byte, std::size_t Extent>
constexpr Ipv4Address LoadIpv4(std::span<Byte, Extent> bytes) {
    const auto field = Field<Offset, 4>(bytes);
    return Ipv4Address(field[0], field[1], field[2], field[3]);
}

template <std::size_t Offset, std::size_t Extent>
constexpr void StoreIpv4(std::span<std::uint8_t, Extent> bytes, Ipv4Address address) {
    std::copy_n(address.Bytes().data(), 4, Field<Offset, 4>(bytes).data());
}

template <std::size_t Offset, PacketByte Byte, std::size_t Extent>
constexpr MacAddress LoadMac(std::span<Byte, Extent> bytes) {
    std::array<std::uint8_t, 6> mac{};
    std::copy_n(Field<Offset, 6>(bytes).data(), 6, mac.data());
    return MacAddress(mac);
}

template <std::size_t Offset, std::size_t Extent>
constexpr void StoreMac(std::span<std::uint8_t, Extent> bytes, MacAddress mac) {
    std::copy_n(mac.Bytes().data(), 6, Field<Offset, 6>(bytes).data());
}

} // namespace vnxtest
