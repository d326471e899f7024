#include "advice/ping_summary.h"

#include <algorithm>

namespace vnxtest {

bool PingSummary::IsUnanswered() const {
    constexpr std::uint32_t kPatience = 5000;
    return answered == 0 && sent != 0 && (over ? lost != 0 : sinceFirst >= kPatience);
}

PingSummary Summarize(const PingPlan& plan, const PingRecords& records, bool over, std::uint32_t now) {
    PingSummary result{.target = plan.target, .dataSize = plan.dataSize, .timeout = plan.timeout};
    PingTotals totals = records.letGo;
    result.over = over;
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
    if (!records.pings.empty()) {
        result.sinceFirst = now - records.pings.front().dwSentTick;
    }
    if (!lateness.empty()) {
        const auto middle = lateness.begin() + static_cast<std::ptrdiff_t>(lateness.size() / 2);
        std::nth_element(lateness.begin(), middle, lateness.end());
        result.medianLateness = *middle;
    }
    return result;
}

} // namespace vnxtest
