#include "cli/report/verdict.h"

#include "ping/ping_texts.h"
#include "results/test_report.h"
#include "wrenlib/format.h"

namespace vnxtest {

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
