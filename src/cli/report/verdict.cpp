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

std::wstring DescribePingsSoFar(const PingFigures& figures) {
    return Sprintf(L"so far %u pings sent, %u answered, %u timed out.%s", figures.statistics.sent,
                   figures.statistics.received, figures.statistics.timeouts,
                   DescribeRoundTrips(figures.records));
}

std::wstring DescribeAnswers(const InterfaceCounts& first, const InterfaceCounts& second) {
    std::uint64_t echo = 0;
    std::uint64_t arp = 0;
    std::uint64_t rarp = 0;
    std::uint64_t ignored = 0;
    for (const InterfaceCounts* const counts : {&first, &second}) {
        echo += counts->echoRequestsAnswered;
        arp += counts->arpRequestsAnswered;
        rarp += counts->rarpRequestsAnswered;
        for (const auto& one : counts->ignored) {
            ignored += one;
        }
    }
    return Sprintf(L"the guest answered %u pings, %u ARP and %u RARP requests, and ignored %u packets.", echo,
                   arp, rarp, ignored);
}

} // namespace vnxtest
