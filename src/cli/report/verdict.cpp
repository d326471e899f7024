#include "cli/report/verdict.h"

#include "ping/ping_texts.h"
#include "ping/round_trip_figures.h"
#include "wrenlib/format.h"

namespace vnxtest {

std::wstring DescribeRoundTrips(const PingRecords& records) {
    const auto figures = FiguresOf(records.pings);
    if (!figures) {
        return {};
    }
    const auto ms = [](std::int64_t ns) { return static_cast<double>(ns) / 1e6; };
    return Sprintf(
        L" Round trips: min %.3f, mean %.3f, median %.3f, p95 %.3f, p99 %.3f, max %.3f, deviation %.3f, jitter %.3f ms.",
        ms(figures->minimum), ms(figures->mean), ms(figures->median), ms(figures->percentile95),
        ms(figures->percentile99), ms(figures->maximum), ms(figures->standardDeviation), ms(figures->jitter));
}

std::wstring DescribePingVerdict(const PingTestResult& result) {
    const PingStatistics& figures = result.statistics;
    const std::wstring lost =
        figures.lost == 0 ? std::wstring(L"none") : Sprintf(L"%u (%u%%)", figures.lost, figures.lossPercent);
    return Sprintf(L"%s: %u pings sent, %s lost.%s", DescribePingTarget(result.plan), figures.sent, lost,
                   DescribeRoundTrips(result.records));
}

} // namespace vnxtest
