#include <array>

#include <gtest/gtest.h>

#include "ping/ping_statistics.h"

namespace vnxtest {
namespace {

TEST(PingStatistics, CountEveryPingOnce) {
    PingTotals totals;
    CPing late;
    late.dwSentTick = 0xFFFFFFF0; // over the wrap of the ticks
    late.dwReplyTick = 20;
    late.nReplies = 3;
    late.nTimeouts = 1;
    totals.Add(late);
    CPing quick;
    quick.dwSentTick = 10;
    quick.dwReplyTick = 11;
    quick.nReplies = 1;
    totals.Add(quick);
    CPing lost;
    lost.nTimeouts = 1;
    totals.Add(lost);
    const PingStatistics s = totals.Statistics();
    EXPECT_EQ((std::array{s.sent, s.received, s.timeouts, s.duplicates, s.lost}),
              (std::array<std::uint64_t, 5>{3, 2, 2, 2, 1}));
    EXPECT_EQ((std::array{s.minimum, s.maximum, s.average}), (std::array{1U, 36U, 18U}));
    EXPECT_EQ(s.lossPercent, 33U);
    EXPECT_TRUE(totals.late == 1 && totals.maximumInTime == 1);
    EXPECT_EQ(PingTotals().Statistics().minimum, 0U);
    for (int more = 0; more < 5; ++more) {
        totals.Add(quick);
    }
    EXPECT_EQ(totals.Statistics().lossPercent, 13U) << "an eighth, rounded";
}

} // namespace
} // namespace vnxtest
