// What the options of the simulated LAN do to replies: how they are read, and that a fate follows from seed,
// interface and number alone. That the statistics of a ping test follow from them exactly:
// tests/guest/test_impairments.cpp.

#include <cmath>

#include <gtest/gtest.h>

#include "vnetx/sim/sim_fate.h"
#include "vnetx/sim/sim_options.h"

namespace vnxtest {
namespace {

using namespace std::chrono_literals;

SimOptions Options(const std::wstring& text) {
    const auto options = ParseSimOptions(text);
    EXPECT_TRUE(options) << ::testing::PrintToString(text);
    return options.value_or(SimOptions());
}

// What is refused: tests/e2e/test_options.py.
TEST(SimOptionsText, TakesEveryOption) {
    const SimOptions o =
        Options(L"loss=5, dup=2.25,late=0,df=1,reorder=3,corrupt=4,truncate=6,foreign=100,"
                L"delay=0.5,jitter=60000,lateby=900,pinger=1000,mtu=68,seed=18446744073709551615 ");
    EXPECT_EQ((std::vector{o.loss, o.dup, o.late, o.df, o.reorder, o.corrupt, o.truncate, o.foreign, o.delay,
                           o.jitter, o.lateBy, o.pinger}),
              (std::vector<double>{5, 2.25, 0, 1, 3, 4, 6, 100, 0.5, 60000, 900, 1000}));
    EXPECT_TRUE(o.mtu == 68 && o.seed == UINT64_MAX);
}

TEST(SimFates, FollowFromSeedInterfaceAndNumberAndComeAsOftenAsAsked) {
    const std::wstring text = L"loss=5,dup=0.5,late=50,corrupt=100,delay=20,jitter=5,lateby=100";
    const SimOptions options = Options(text), only = Options(L"dup=0.5");
    constexpr int kMany = 200000;
    int lost = 0, duplicated = 0, late = 0, same = 0;
    for (std::uint64_t n = 1; n <= kMany; ++n) {
        const SimFate fate = DecideSimFate(options, 0, n);
        if (fate.lost) {
            ++lost;
            continue;
        }
        duplicated += fate.duplicated;
        late += fate.late;
        same += DecideSimFate(options, 1, n).random == fate.random;
        const auto least = fate.late ? 120ms : 20ms;
        ASSERT_TRUE(fate.delay >= least && fate.delay <= least + 5ms && fate.corrupted && !fate.truncated);
        ASSERT_EQ(fate.duplicated, DecideSimFate(only, 0, n).duplicated) << "one does not change another";
    }
    const double left = kMany * 0.95; // five standard deviations on either side
    EXPECT_NEAR(lost, kMany * 0.05, 5 * std::sqrt(kMany * 0.05));
    EXPECT_NEAR(duplicated, left * 0.005, 5 * std::sqrt(left * 0.005));
    EXPECT_NEAR(late, left * 0.5, 5 * std::sqrt(left * 0.5));
    EXPECT_EQ(same, 0) << "each interface has its own";
}

} // namespace
} // namespace vnxtest
