#include "vnetx/checksum.h"

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "vnetx/guest_mac.h"

namespace vnxtest {
namespace {

// The definition, word by word, with the carries folded in at once.
std::uint16_t SlowChecksum(const std::uint8_t* bytes, std::size_t length) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < length; ++i) {
        sum += static_cast<std::uint32_t>(bytes[i]) << (i % 2 == 0 ? 8 : 0);
        sum = (sum & 0xFFFF) + (sum >> 16);
    }
    return static_cast<std::uint16_t>(~sum);
}

TEST(Checksum, KnownVectors) {
    // A real IPv4 header without its checksum.
    const std::uint8_t header[] = {0x45, 0, 0,    0x73, 0, 0, 0x40, 0,    0x40, 0x11,
                                   0,    0, 0xc0, 0xa8, 0, 1, 0xc0, 0xa8, 0,    0xc7};
    EXPECT_EQ(InetChecksum(header, sizeof header), 0xb861);
    EXPECT_EQ(InetChecksum(nullptr, 0), 0xFFFF);
    EXPECT_EQ(BuildGuestMac(Ipv4Address(192, 168, 1, 255)), MacAddress({0x02, 0x00, 0x5E, 0xA8, 0x01, 0xFF}));
}

TEST(Checksum, EveryLengthAndAlignmentAgreesWithTheDefinition) {
    std::mt19937 random(1);
    std::vector<std::uint8_t> bytes(208, 0xFF); // the first half stays so: all carries
    std::generate(bytes.begin() + 100, bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
    for (std::size_t offset = 0; offset < 8; ++offset) {
        for (std::size_t length = 0; length <= 200; ++length) {
            ASSERT_EQ(InetChecksum(&bytes[offset], length), SlowChecksum(&bytes[offset], length))
                << offset << ' ' << length;
        }
    }
    const std::vector<std::uint8_t> large(65535, 0xFF);
    EXPECT_EQ(InetChecksum(large.data(), large.size()), SlowChecksum(large.data(), large.size()));
}

} // namespace
} // namespace vnxtest
