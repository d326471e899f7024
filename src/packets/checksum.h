// The Internet checksum (RFC 1071), fast enough to be no part of an echo's cost.
#pragma once

#include <cstdint>
#include <span>

namespace vnxtest {

// The one's complement of the one's complement sum of the 16-bit words of `bytes`, an odd last byte being
// padded with a zero byte. The words are taken in network order and the result is a number in host order:
// htons() of it is what stands in a header. Over a header that already holds its right checksum the result
// is 0. `bytes` needs no alignment. Any thread; cannot fail.
std::uint16_t InetChecksum(std::span<const std::uint8_t> bytes);

} // namespace vnxtest
