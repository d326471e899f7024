#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

#include "ping/round_trip.h"
#include "ping/round_trip_figures.h"

namespace vnxtest {
namespace {

constexpr std::int64_t kMs = 1'000'000;
constexpr std::int64_t kDate = 1'700'000'000'000 * kMs;

ClockReading At(std::int64_t steadyNs, std::int64_t wallJump = 0) {
    return {5 * kMs + steadyNs, kDate + steadyNs + wallJump};
}

TEST(RoundTrip, TakesTheKernelsStampUnlessTheClockMayHaveJumped) {
    const ClockReading sent = At(0);
    const std::int64_t stamp = kDate + 2 * kMs;
    EXPECT_EQ(RoundTripNs(sent, At(3 * kMs), stamp), 2 * kMs);
    EXPECT_EQ(RoundTripNs(sent, At(3 * kMs), 0), 3 * kMs) << "no stamp";
    EXPECT_EQ(RoundTripNs(sent, At(3 * kMs, 8'000), stamp), 2 * kMs - 8'000) << "the clock is corrected";
    for (const std::int64_t jump : {-86'400'000 * kMs, -kMs, -kMs / 50, kMs / 50, kMs, 86'400'000 * kMs}) {
        EXPECT_EQ(RoundTripNs(sent, At(3 * kMs, jump), stamp), 3 * kMs) << "after the stamp: " << jump;
        EXPECT_EQ(RoundTripNs(sent, At(3 * kMs, jump), stamp + jump), 3 * kMs) << "before it: " << jump;
    }
    EXPECT_EQ(RoundTripNs(sent, At(3 * kMs), kDate - 1), 3 * kMs) << "before the request";
    EXPECT_EQ(RoundTripNs(sent, At(3 * kMs), kDate + 3 * kMs + 1), 3 * kMs) << "in the future";
}

CPing Answered(std::int64_t roundTripNs) {
    CPing ping;
    ping.nReplies = 1;
    ping.roundTripNs = roundTripNs;
    return ping;
}

// The values beside sorted ones, for every small number of pings; the sums are checked with an independent
// implementation in tests/e2e/test_terminal.py.
TEST(RoundTripFigures, FindTheirPlaces) {
    EXPECT_FALSE(FiguresOf(std::vector<CPing>(3)));
    for (std::size_t count = 1; count <= 210; ++count) {
        std::vector<CPing> pings(1); // lost: counts nowhere
        std::vector<std::int64_t> sorted;
        for (std::size_t n = 0; n < count; ++n) {
            sorted.push_back(static_cast<std::int64_t>(n * 7919 % count) * 1000);
            pings.push_back(Answered(sorted.back()));
        }
        std::sort(sorted.begin(), sorted.end());
        const auto figures = FiguresOf(pings);
        ASSERT_TRUE(figures);
        EXPECT_EQ(figures->count, count);
        EXPECT_EQ(figures->minimum, sorted.front());
        EXPECT_EQ(figures->maximum, sorted.back());
        EXPECT_EQ(figures->median, (sorted[(count - 1) / 2] + sorted[count / 2]) / 2) << count;
        EXPECT_EQ(figures->percentile95, sorted[(95 * count + 99) / 100 - 1]) << count;
        EXPECT_EQ(figures->percentile99, sorted[(99 * count + 99) / 100 - 1]) << count;
    }
}

} // namespace
} // namespace vnxtest
