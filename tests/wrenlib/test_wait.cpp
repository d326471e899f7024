#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "wrenlib/fair_lock.h"
#include "wrenlib/ticks.h"
#include "wrenlib/wait.h"

namespace vnxtest {
namespace {

TEST(Wait, ReturnsTheFirstSignalledInOrder) {
    WaitDomain domain;
    ManualResetEvent stop(domain), ping(domain);
    WaitableTimer timer(domain);
    ping.Set();
    timer.Arm(0);
    EXPECT_EQ(WaitForAny(domain, {&stop, &ping, &timer}), 1);
    ping.Reset();
    EXPECT_EQ(WaitForAny(domain, {&stop, &ping, &timer}), 2);
    for (const int wanted : {2, 0}) { // armed and set meanwhile
        timer.Cancel();
        std::thread other([&] { wanted == 2 ? timer.Arm(10) : stop.Set(); });
        EXPECT_EQ(WaitForAny(domain, {&stop, &ping, &timer}), wanted);
        other.join();
    }
}

TEST(Ticks, CompareAcrossTheWrap) {
    EXPECT_TRUE(TickReached(5, 0xFFFFFFFB));
    EXPECT_FALSE(TickReached(0xFFFFFFFB, 5));
    EXPECT_TRUE(TickReached(7, 7));
}

TEST(FairLock, ExcludesTheOthersAndGivesAWaiterItsTurnAgainstAThreadThatKeepsTakingIt) {
    FairLock lock;
    std::atomic<bool> done{false};
    std::uint64_t shared = 0, greedyTurns = 0;
    std::thread greedy([&] {
        for (; !done; ++greedyTurns) {
            const std::lock_guard guard(lock);
            ++shared;
        }
    });
    for (int turn = 0; turn < 1000; ++turn) {
        const std::lock_guard guard(lock);
        ++shared;
    }
    done = true;
    greedy.join();
    EXPECT_EQ(shared, 1000U + greedyTurns) << "no turn is lost to another thread's";
}

} // namespace
} // namespace vnxtest
