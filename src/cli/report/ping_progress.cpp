#include "cli/report/ping_progress.h"

#include <algorithm>

#include <fmt/format.h>

#include "ping/round_trip_figures.h"

namespace vnxtest {

namespace {

constexpr std::size_t kRecent = 1000;

double Milliseconds(std::int64_t ns) {
    return static_cast<double>(ns) / 1e6;
}

// The last pings, and all that are under way: few, unless the target is silent.
PingRecords RecentPings(const PingTest& test, std::size_t sent) {
    PingRecords records = test.CopyPings(sent > kRecent ? sent - kRecent : 0);
    const bool moreMayBeOpen = !records.pings.empty() && records.pings.front().IsUndecided();
    return moreMayBeOpen ? test.CopyPings(0) : records;
}

} // namespace

std::string PingProgress::TimeLeft(std::uint64_t sent, Moment now) const {
    using std::chrono::seconds;
    std::optional<std::chrono::steady_clock::duration> left;
    if (m_end) {
        left = *m_end - now;
    }
    if (m_plan.numPings > sent && sent != 0) {
        const auto pings = (now - m_begin) / static_cast<std::int64_t>(sent) *
                           static_cast<std::int64_t>(m_plan.numPings - sent);
        left = left ? std::min(*left, pings) : pings;
    }
    if (!left || *left <= seconds::zero() || m_plan.numPings == sent) {
        return {};
    }
    const auto whole = std::chrono::ceil<seconds>(*left).count();
    return whole < 120 ? fmt::format(", {} s left", whole) : fmt::format(", {} min left", (whole + 59) / 60);
}

std::string PingProgress::Line() const {
    const PingStatistics figures = m_test.FiguresSoFar(false).statistics;
    const PingRecords recent = RecentPings(m_test, figures.sent);
    const auto open = static_cast<std::uint64_t>(
        std::ranges::count_if(recent.pings, [](const CPing& ping) { return ping.IsUndecided(); }));
    std::string line =
        fmt::format("{} sent, {} lost", figures.sent, figures.lost > open ? figures.lost - open : 0);
    const auto latest = std::find_if(recent.pings.rbegin(), recent.pings.rend(),
                                     [](const CPing& ping) { return ping.nReplies != 0; });
    if (latest != recent.pings.rend()) {
        line += fmt::format(", latest {:.3f} ms, median {:.3f} ms", Milliseconds(latest->roundTripNs),
                            Milliseconds(FiguresOf(recent.pings)->median));
    }
    return line + TimeLeft(figures.sent, std::chrono::steady_clock::now());
}

} // namespace vnxtest
