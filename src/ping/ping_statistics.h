// The figures of a test's statistics block.
//
// A ping is added once, when it changes no more or when the figures are computed. No lock.
#pragma once

#include <cstdint>
#include <limits>

#include "ping/ping_record.h"

namespace vnxtest {

// The figures of the statistics block.
struct PingStatistics {
    std::uint64_t sent = 0;
    std::uint64_t received = 0;   // with at least one reply
    std::uint64_t timeouts = 0;   // declared timed out, also those answered late
    std::uint64_t duplicates = 0; // replies beyond the first
    std::uint64_t lost = 0;       // without any reply
    std::uint32_t minimum = 0;    // milliseconds
    std::uint32_t maximum = 0;
    std::uint32_t average = 0; // rounded down
    std::uint32_t lossPercent = 0;
};

// Sums over pings; further ones can be added at any time.
struct PingTotals {
    std::uint64_t sent = 0;
    std::uint64_t received = 0;
    std::uint64_t timeouts = 0;
    std::uint64_t late = 0; // answered, and declared timed out before
    std::uint64_t duplicates = 0;
    std::uint64_t sum = 0; // of the round trips, milliseconds
    std::uint32_t minimum = std::numeric_limits<std::uint32_t>::max();
    std::uint32_t maximum = 0;
    // The same in nanoseconds.
    std::int64_t sumNs = 0;
    std::int64_t minimumNs = std::numeric_limits<std::int64_t>::max();
    std::int64_t maximumNs = 0;
    std::int64_t maximumInTimeNs = 0; // of the replies that were not late

    void Add(const CPing& ping);
    PingStatistics Statistics() const;
};

} // namespace vnxtest
