#include "packets/checksum.h"

#include <algorithm>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace vnxtest {
namespace {

// The definition, word by word, with 32 bits and the carries folded at the end.
std::uint16_t SlowChecksum(std::span<const std::uint8_t> bytes) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        sum += static_cast<std::uint32_t>(bytes[i]) << (i % 2 == 0 ? 8 : 0);
        sum = (sum & 0xFFFF) + (sum >> 16);
    }
    return static_cast<std::uint16_t>(~sum);
}

TEST(Checksum, EveryLengthAndAlignmentAgreesWithTheDefinition) {
    EXPECT_EQ(InetChecksum({}), 0xFFFF);
    std::mt19937 random(1);
    std::vector<std::uint8_t> bytes(600);
    std::ranges::generate(bytes, [&] { return static_cast<std::uint8_t>(random()); });
    for (std::size_t offset = 0; offset < 8; ++offset) {
        for (std::size_t length = 0; length < 200; ++length) {
            const auto part = std::span(bytes).subspan(offset, length);
            ASSERT_EQ(InetChecksum(part), SlowChecksum(part)) << offset << ' ' << length;
        }
    }
    const std::vector<std::uint8_t> large(65535, 0xFF);
    EXPECT_EQ(InetChecksum(large), SlowChecksum(large));
}

} // namespace
} // namespace vnxtest
