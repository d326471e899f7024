#include "packets/checksum.h"

#include <bit>
#include <cstddef>
#include <cstring>

namespace vnxtest {
namespace {

// One's complement addition in 64 bits: the carry comes back in at the low end.
std::uint64_t AddWithCarry(std::uint64_t sum, std::uint64_t value) {
    sum += value;
    return sum + (sum < value ? 1 : 0);
}

template <typename Word>
Word Load(const std::uint8_t* from) {
    Word word;
    std::memcpy(&word, from, sizeof word);
    return word;
}

} // namespace

std::uint16_t InetChecksum(std::span<const std::uint8_t> bytes) {
    // The sum does not depend on the byte order in which it is formed, only its result does
    // (RFC 1071, section 2): wide words are added as they stand in memory and the bytes of the
    // folded sum are swapped at the end.
    const std::uint8_t* from = bytes.data();
    std::size_t length = bytes.size();
    std::uint64_t even = 0;
    std::uint64_t odd = 0;
    for (; length >= 16; from += 16, length -= 16) {
        even = AddWithCarry(even, Load<std::uint64_t>(from));
        odd = AddWithCarry(odd, Load<std::uint64_t>(from + 8));
    }
    std::uint64_t sum = AddWithCarry(even, odd);
    if (length >= 8) {
        sum = AddWithCarry(sum, Load<std::uint64_t>(from));
        from += 8;
        length -= 8;
    }
    if (length > 0) {
        std::uint64_t rest = 0;
        std::memcpy(&rest, from, length);
        sum = AddWithCarry(sum, rest);
    }
    sum = (sum >> 32) + (sum & 0xFFFFFFFF);
    sum = (sum >> 32) + (sum & 0xFFFFFFFF);
    sum = (sum >> 16) + (sum & 0xFFFF);
    sum = (sum >> 16) + (sum & 0xFFFF);
    const auto folded = static_cast<std::uint16_t>(~sum);
    if constexpr (std::endian::native == std::endian::little) {
        return static_cast<std::uint16_t>(folded << 8 | folded >> 8);
    } else {
        return folded;
    }
}

} // namespace vnxtest
