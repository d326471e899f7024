// IPv4 and MAC addresses as small values, and their texts.
//
// Both keep their bytes in network order, as they stand in a packet. Conversion to numbers is
// explicit. All functions may run on any thread.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace vnxtest {

class Ipv4Address {
public:
    constexpr Ipv4Address() = default;
    constexpr explicit Ipv4Address(std::array<std::uint8_t, 4> bytes) : m_bytes(bytes) {}
    constexpr Ipv4Address(std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d)
        : m_bytes{a, b, c, d} {}

    // From and to the 32-bit number whose memory image is the four bytes (the first octet in the
    // lowest byte on a little-endian machine): how records and the profile hold an address.
    static Ipv4Address FromMemory(std::uint32_t image) {
        Ipv4Address address;
        std::memcpy(address.m_bytes.data(), &image, 4);
        return address;
    }
    std::uint32_t Memory() const {
        std::uint32_t image = 0;
        std::memcpy(&image, m_bytes.data(), 4);
        return image;
    }

    // From and to the number in host order (192.168.0.1 is 0xC0A80001).
    static constexpr Ipv4Address FromHost(std::uint32_t value) {
        return Ipv4Address(static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>(value >> 16),
                           static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value));
    }
    constexpr std::uint32_t Host() const {
        return static_cast<std::uint32_t>(m_bytes[0]) << 24 | static_cast<std::uint32_t>(m_bytes[1]) << 16 |
               static_cast<std::uint32_t>(m_bytes[2]) << 8 | m_bytes[3];
    }

    // The mask of a prefix length; anything above 32 counts as 32.
    static constexpr Ipv4Address Mask(unsigned prefixLength) {
        if (prefixLength == 0) {
            return {};
        }
        return FromHost(prefixLength >= 32 ? 0xFFFFFFFFU : ~(0xFFFFFFFFU >> prefixLength));
    }

    constexpr const std::array<std::uint8_t, 4>& Bytes() const { return m_bytes; }
    constexpr bool IsZero() const { return Host() == 0; }

    constexpr Ipv4Address operator&(Ipv4Address other) const { return FromHost(Host() & other.Host()); }
    constexpr Ipv4Address operator|(Ipv4Address other) const { return FromHost(Host() | other.Host()); }
    constexpr Ipv4Address operator~() const { return FromHost(~Host()); }
    constexpr auto operator<=>(const Ipv4Address&) const = default;

private:
    std::array<std::uint8_t, 4> m_bytes{};
};

class MacAddress {
public:
    constexpr MacAddress() = default;
    constexpr explicit MacAddress(std::array<std::uint8_t, 6> bytes) : m_bytes(bytes) {}

    static constexpr MacAddress Broadcast() { return MacAddress({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}); }

    constexpr const std::array<std::uint8_t, 6>& Bytes() const { return m_bytes; }
    constexpr bool IsZero() const { return *this == MacAddress{}; }
    // The group bit (IEEE 802): set in multicast addresses and in broadcast.
    constexpr bool IsGroup() const { return (m_bytes[0] & 0x01) != 0; }
    // The locally administered bit.
    constexpr bool IsLocal() const { return (m_bytes[0] & 0x02) != 0; }
    constexpr auto operator<=>(const MacAddress&) const = default;

private:
    std::array<std::uint8_t, 6> m_bytes{};
};

// Four decimal numbers of 0 to 255 with dots between and nothing else ("10.1.2.3"); no octal, no short
// forms, no blanks. Nullopt for any other text.
std::optional<Ipv4Address> ParseIPAddress(std::wstring_view text);

// Six pairs of hex digits with "-" or ":" between them, one kind throughout; nullopt for any other text.
std::optional<MacAddress> ParseMACAddress(std::wstring_view text);

// "10.1.2.3" in ASCII, without an allocation: lines that are written with every packet have it.
class Ipv4Text {
public:
    explicit Ipv4Text(Ipv4Address address);
    operator std::string_view() const { return {m_text.data(), m_length}; }

private:
    std::array<char, 16> m_text;
    std::size_t m_length = 0;
};

// "10.1.2.3".
std::wstring FormatIPAddr(Ipv4Address address);

// "02-00-5E-80-00-04": upper case, with "-".
std::wstring FormatMACAddr(MacAddress address);

} // namespace vnxtest
