// The list of this process's threads, by which rights are given up in all of them.
#include <algorithm>
#include <latch>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/process/process_threads_linux.h"

namespace vnxtest {
namespace {

TEST(ProcessThreads, AThreadIsListedWhileItRuns) {
    const auto lists = [](pid_t thread) { return std::ranges::count(ThreadsOfThisProcess(), thread); };
    constexpr int kThreads = 5;
    std::vector<pid_t> ids(kThreads);
    std::vector<std::thread> threads;
    std::latch started(kThreads + 1);
    std::latch over(1);
    for (pid_t& id : ids) {
        threads.emplace_back([&] {
            id = gettid();
            started.count_down();
            over.wait();
        });
    }
    started.arrive_and_wait();
    for (const pid_t id : ids) {
        EXPECT_EQ(lists(id), 1);
    }
    EXPECT_EQ(lists(gettid()), 1);
    EXPECT_EQ(lists(getppid()), 0) << "of another process";
    over.count_down();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace
} // namespace vnxtest
