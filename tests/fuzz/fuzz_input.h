// What the fuzz targets share: the shape of an input of frames, and a claim that must hold.
//
// An input of frames is one byte of options and then records: two bytes, the low one first, of which
// the lower eleven bits are the length of the frame that follows and the rest are flags.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>

namespace vnxtest {

inline constexpr std::uint8_t kTapMode = 0x01, kDebugMode = 0x02, kWithPings = 0x04;
inline constexpr std::uint16_t kRecordLength = 0x07FF; // a mask
inline constexpr std::uint16_t kReplyToPing = 0x8000;  // the frame gets the last ping's numbers

// Calls `take(flags, frame)` for every record of `input`; the last one may be cut short.
template <typename Byte, typename Take>
void ForEachRecord(std::span<Byte> input, Take take) {
    for (std::size_t at = 1; at + 2 <= input.size();) {
        const auto head = static_cast<std::uint16_t>(input[at] | input[at + 1] << 8);
        at += 2;
        const std::size_t length = std::min<std::size_t>(head & kRecordLength, input.size() - at);
        take(static_cast<std::uint16_t>(head & ~kRecordLength), input.subspan(at, length));
        at += length;
    }
}

inline void Claim(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

} // namespace vnxtest
