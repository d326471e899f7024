#include "vnetx/driver/poll_policy.h"

#include <gtest/gtest.h>

namespace vnxtest {
namespace {

using std::chrono::microseconds;

constexpr auto kClose = microseconds(10);
constexpr auto kLate = PollPolicy::kBudget + microseconds(1);

constexpr PollPolicy::Clock::time_point kNow{std::chrono::hours(1)};

bool Spins(const PollPolicy& policy, PollPolicy::Clock::time_point now = kNow) {
    return policy.Budget(now) != PollPolicy::Clock::duration::zero();
}

TEST(PollPolicyTest, SpinsOnceFramesFollowCloselyAndBearsALateOne) {
    PollPolicy policy;
    EXPECT_FALSE(Spins(policy));
    for (int frame = 0; frame < PollPolicy::kMost; ++frame) {
        policy.FrameAfter(kClose);
    }
    EXPECT_TRUE(Spins(policy));
    for (int round = 0; round < 20; ++round) {
        policy.FrameAfter(kLate);
        EXPECT_TRUE(Spins(policy)) << "one late frame among many";
        policy.FrameAfter(kClose);
        policy.FrameAfter(kClose);
    }
}

TEST(PollPolicyTest, BlocksOnceFramesComeNowAndThen) {
    PollPolicy policy;
    for (int frame = 0; frame < 1000; ++frame) {
        policy.FrameAfter(kClose);
    }
    for (int frame = 0; frame < 3; ++frame) {
        policy.FrameAfter(kLate);
    }
    EXPECT_FALSE(Spins(policy));
    for (int pair = 0; pair < 100; ++pair) { // two at a time, with pauses between
        policy.FrameAfter(kClose);
        policy.FrameAfter(kLate);
        EXPECT_FALSE(Spins(policy));
    }
    for (int frame = 0; frame < PollPolicy::kMost; ++frame) {
        policy.FrameAfter(kClose);
    }
    policy.NoFrame();
    EXPECT_FALSE(Spins(policy));
}

TEST(PollPolicyTest, BlocksForAWhileOnceTheProcessorWasTaken) {
    PollPolicy policy;
    for (int frame = 0; frame < PollPolicy::kMost; ++frame) {
        policy.FrameAfter(kClose);
    }
    policy.ProcessorWasTaken(kNow);
    policy.FrameAfter(kClose);
    EXPECT_FALSE(Spins(policy, kNow + PollPolicy::kContended - microseconds(1)));
    EXPECT_TRUE(Spins(policy, kNow + PollPolicy::kContended));
}

} // namespace
} // namespace vnxtest
