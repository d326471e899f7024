// What is said of a test's round trips in nanoseconds, beside the milliseconds of the statistics block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "ping/ping_record.h"

namespace vnxtest {

// In nanoseconds.
struct RoundTripFigures {
    std::size_t count = 0; // of the pings that were answered
    std::int64_t minimum = 0;
    std::int64_t mean = 0;
    std::int64_t median = 0;       // of an even number the mean of the middle two
    std::int64_t percentile95 = 0; // the least time that 95 % of the pings do not exceed
    std::int64_t percentile99 = 0; // likewise
    std::int64_t maximum = 0;
    std::int64_t standardDeviation = 0; // of these pings, not an estimate for others
    std::int64_t jitter = 0;            // smoothed, after the last ping (RFC 3550, section 6.4.1)
};

// Of the latest reply to each ping, in the order of sending; nullopt if none was answered. Takes time in
// proportion to their number, and allocates 8 bytes for each.
std::optional<RoundTripFigures> FiguresOf(std::span<const CPing> pings);

} // namespace vnxtest
