// A ping test in figures that say how it went, beyond those of its statistics: how late replies are, and
// whether losses come together.
#pragma once

#include <cstdint>

#include "core/ping_plan.h"
#include "ping/ping_book.h"

namespace vnxtest {

struct PingCourse {
    Ipv4Address target;
    std::uint32_t dataSize = 0;
    std::uint32_t timeout = 0; // milliseconds, as all times here
    bool over = false;
    std::uint32_t sinceFirst = 0; // since the first ping was sent
    std::uint64_t sent = 0;
    std::uint64_t answered = 0;
    std::uint64_t late = 0; // answered after the time-out
    std::uint64_t lost = 0; // timed out, and not answered since
    std::uint32_t medianLateness = 0;
    std::uint32_t longestRoundTrip = 0;
    // Losses one after the other, of the pings that are still kept.
    std::uint64_t lossRuns = 0;
    std::uint64_t longestLossRun = 0;

    // Nobody has answered although there was time to: 5 s, or the whole test.
    bool IsUnanswered() const;
};

// An earlier test of which something was answered.
struct EarlierPings {
    Ipv4Address target;
    std::uint32_t dataSize = 0;
};

// Of a test that runs: without what only its records tell. `now` is the present tick (wrenlib/ticks.h).
PingCourse CourseSoFar(const PingPlan& plan, const PingFigures& figures, std::uint32_t now);
// Of one that is over; `records` are all that is kept of it.
PingCourse CourseOf(const PingPlan& plan, const PingRecords& records);

} // namespace vnxtest
