// How a ping test stands while it runs: the live line, and the answer to the user's question.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "ping/ping_test.h"

namespace vnxtest {

class PingProgress {
public:
    using Moment = std::chrono::steady_clock::time_point;

    // Of the test `test`, which has just begun; `end`: when its duration is over. `test` outlives this.
    PingProgress(const PingTest& test, const PingPlan& plan, std::optional<Moment> end)
        : m_test(test), m_plan(plan), m_end(end) {}

    // "12 sent, 1 lost, latest 0.052 ms, median 0.049 ms, 8 s left": lost are pings that have timed out and
    // were not answered; the median is that of the last thousand. Main thread.
    std::string Line() const;

private:
    std::string TimeLeft(std::uint64_t sent, Moment now) const;

    const PingTest& m_test;
    const PingPlan m_plan;
    const std::optional<Moment> m_end;
    const Moment m_begin = std::chrono::steady_clock::now();
};

} // namespace vnxtest
