#include "advice/ping_course.h"

#include <algorithm>

namespace vnxtest {

bool PingCourse::IsUnanswered() const {
    constexpr std::uint32_t kPatience = 5000;
    return answered == 0 && sent != 0 && (over ? lost != 0 : sinceFirst >= kPatience);
}

PingCourse CourseSoFar(const PingPlan& plan, const PingFigures& figures, std::uint32_t now) {
    PingCourse result{.target = plan.target, .dataSize = plan.dataSize, .timeout = plan.timeout};
    result.sent = figures.statistics.sent;
    result.answered = figures.statistics.received;
    result.sinceFirst = result.sent != 0 ? now - figures.firstTick : 0;
    return result;
}

PingCourse CourseOf(const PingPlan& plan, const PingRecords& records) {
    PingCourse result{.target = plan.target, .dataSize = plan.dataSize, .timeout = plan.timeout};
    PingTotals totals = records.letGo;
    result.over = true;
    result.lost = totals.sent - totals.received;
    std::vector<std::uint32_t> lateness;
    std::uint64_t run = 0;
    for (const CPing& ping : records.pings) {
        totals.Add(ping);
        const bool lost = ping.nReplies == 0 && ping.nTimeouts != 0;
        run = lost ? run + 1 : 0;
        result.lost += lost ? 1 : 0;
        result.lossRuns += run == 1 ? 1 : 0;
        result.longestLossRun = std::max(result.longestLossRun, run);
        if (ping.nReplies != 0 && ping.nTimeouts != 0) {
            lateness.push_back(ping.dwReplyTick - ping.dwDeadlineTick);
        }
    }
    result.sent = totals.sent;
    result.answered = totals.received;
    result.late = totals.late;
    result.longestRoundTrip = totals.maximum;
    if (!lateness.empty()) {
        const auto middle = lateness.begin() + static_cast<std::ptrdiff_t>(lateness.size() / 2);
        std::nth_element(lateness.begin(), middle, lateness.end());
        result.medianLateness = *middle;
    }
    return result;
}

} // namespace vnxtest
