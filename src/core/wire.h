// Reading and writing numbers and addresses in network byte order, at fixed places of a packet.
//
// A view over a packet is a span of fixed extent, made after one length check; the offset is a
// template argument and is checked against the extent when it is compiled, so that no accessor can
// reach outside, whatever the bytes.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "wrenlib/address.h"

namespace vnxtest {

template <std::size_t Offset, std::size_t Extent>
requires(Extent != std::dynamic_extent && Offset + 2 <= Extent) constexpr std::uint16_t
    LoadBe16(std::span<std::uint8_t, Extent> bytes) {
    return static_cast<std::uint16_t>(bytes[Offset] << 8 | bytes[Offset + 1]);
}

template <std::size_t Offset, std::size_t Extent>
requires(Extent != std::dynamic_extent &&
         Offset + 2 <= Extent) constexpr void StoreBe16(std::span<std::uint8_t, Extent> bytes,
                                                        std::uint16_t value) {
    bytes[Offset] = static_cast<std::uint8_t>(value >> 8);
    bytes[Offset + 1] = static_cast<std::uint8_t>(value);
}

template <std::size_t Offset, std::size_t Extent>
requires(Extent != std::dynamic_extent && Offset + 4 <= Extent) constexpr Ipv4Address
    LoadIpv4(std::span<std::uint8_t, Extent> bytes) {
    return Ipv4Address(bytes[Offset], bytes[Offset + 1], bytes[Offset + 2], bytes[Offset + 3]);
}

template <std::size_t Offset, std::size_t Extent>
requires(Extent != std::dynamic_extent &&
         Offset + 4 <= Extent) constexpr void StoreIpv4(std::span<std::uint8_t, Extent> bytes,
                                                        Ipv4Address address) {
    std::ranges::copy(address.Bytes(), bytes.begin() + Offset);
}

template <std::size_t Offset, std::size_t Extent>
requires(Extent != std::dynamic_extent && Offset + 6 <= Extent) constexpr MacAddress
    LoadMac(std::span<std::uint8_t, Extent> bytes) {
    std::array<std::uint8_t, 6> mac{};
    std::copy_n(bytes.begin() + Offset, mac.size(), mac.begin());
    return MacAddress(mac);
}

template <std::size_t Offset, std::size_t Extent>
requires(Extent != std::dynamic_extent &&
         Offset + 6 <= Extent) constexpr void StoreMac(std::span<std::uint8_t, Extent> bytes,
                                                       MacAddress mac) {
    std::ranges::copy(mac.Bytes(), bytes.begin() + Offset);
}

} // namespace vnxtest
