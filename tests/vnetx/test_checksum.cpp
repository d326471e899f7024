#include "vnetx/checksum.h"

#include <array>
#include <cstdint>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "vnetx/guest_mac.h"

namespace vnxtest {
namespace {

// The definition, word by word, with 32 bits and the carries folded at the end.
std::uint16_t SlowChecksum(const std::uint8_t* bytes, std::size_t length) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < length; ++i) {
        sum += static_cast<std::uint32_t>(bytes[i]) << (i % 2 == 0 ? 8 : 0);
        sum = (sum & 0xFFFF) + (sum >> 16);
    }
    return static_cast<std::uint16_t>(~sum);
}

TEST(Checksum, KnownVectors) {
    // RFC 1071, section 3: the sum of these words is ddf2.
    const std::array<std::uint8_t, 8> rfc{0x00, 0x01, 0xf2, 0x03, 0xf4, 0xf5, 0xf6, 0xf7};
    EXPECT_EQ(InetChecksum(rfc.data(), rfc.size()), static_cast<std::uint16_t>(~0xddf2));
    // A real IPv4 header; with its checksum in place the result is 0.
    std::array<std::uint8_t, 20> header{0x45, 0, 0,    0x73, 0, 0, 0x40, 0,    0x40, 0x11,
                                        0,    0, 0xc0, 0xa8, 0, 1, 0xc0, 0xa8, 0,    0xc7};
    EXPECT_EQ(InetChecksum(header.data(), header.size()), 0xb861);
    header[10] = 0xb8;
    header[11] = 0x61;
    EXPECT_EQ(InetChecksum(header.data(), header.size()), 0);
    EXPECT_EQ(InetChecksum(nullptr, 0), 0xFFFF);
}

TEST(Checksum, EveryLengthAndAlignmentAgreesWithTheDefinition) {
    std::mt19937 random(1);
    std::vector<std::uint8_t> bytes(600);
    for (const int kind : {0, 1, 2}) {
        for (auto& byte : bytes) {
            byte = kind == 0 ? static_cast<std::uint8_t>(random()) : kind == 1 ? 0xFF : 0x00;
        }
        for (std::size_t offset = 0; offset < 8; ++offset) {
            for (std::size_t length = 0; length < 200; ++length) {
                ASSERT_EQ(InetChecksum(bytes.data() + offset, length),
                          SlowChecksum(bytes.data() + offset, length))
                    << kind << ' ' << offset << ' ' << length;
            }
        }
    }
    std::vector<std::uint8_t> large(65535, 0xFF);
    EXPECT_EQ(InetChecksum(large.data(), large.size()), SlowChecksum(large.data(), large.size()));
}

TEST(Checksum, GuestMacFollowsFromTheAddress) {
    EXPECT_EQ(BuildGuestMac(Ipv4Address(10, 0, 0, 4)), MacAddress({0x02, 0x00, 0x5E, 0x80, 0x00, 0x04}));
    EXPECT_EQ(BuildGuestMac(Ipv4Address(192, 168, 1, 255)), MacAddress({0x02, 0x00, 0x5E, 0xA8, 0x01, 0xFF}));
    EXPECT_FALSE(BuildGuestMac(Ipv4Address(255, 255, 255, 255)).IsGroup());
}

} // namespace
} // namespace vnxtest
