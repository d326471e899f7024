#include "results/test_report.h"

#include <fmt/format.h>

#include "ping/ping_texts.h"
#include "ping/round_trip_figures.h"
#include "ping/statistics_text.h"
#include "results/date_text.h"
#include "wrenlib/format.h"
#include "wrenlib/product.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

std::string PingLine(const CPing& ping, std::size_t number) {
    const char* const state = ping.nReplies == 0 ? "lost" : ping.nTimeouts != 0 ? "late reply" : "reply";
    std::string line = fmt::format(" {:>8} {:>8}  {:<33} {:<10}", number, ping.SequenceNumber(),
                                   DateText(ping.sent.unixNs), state);
    if (ping.nReplies != 0) {
        line += fmt::format(" {:>12.3f} ms", static_cast<double>(ping.roundTripNs) / 1e6);
    }
    if (ping.nReplies > 1) {
        line += fmt::format(", {} replies", ping.nReplies);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line + "\n";
}

} // namespace

std::string PingTestText(const PingTestResult& result) {
    const std::wstring target = DescribePingTarget(result.plan);
    std::string text = std::string(kProductAndVersion) + "\n";
    if (result.beganUnixNs != 0) {
        text += "Ping test from " + DateText(result.beganUnixNs);
        text += result.endedUnixNs != 0 ? " to " + DateText(result.endedUnixNs) : std::string();
        text += "\n";
    }
    text += "\n" + ToUtf8(PingPlanText(result.plan, target)) + "\n\n";
    text += fmt::format(" {:>8} {:>8}  {:<33} {:<10} {:>15}\n", "Number", "Sequence", "Sent", "State",
                        "Round trip");
    std::size_t number = result.records.first;
    for (const CPing& ping : result.records.pings) {
        text += PingLine(ping, ++number);
    }
    text += ToUtf8(StatisticsText(result.statistics, target));
    if (const std::wstring roundTrips = DescribeRoundTrips(result.records); !roundTrips.empty()) {
        text += "\n" + ToUtf8(roundTrips) + "\n";
    }
    return text;
}

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

} // namespace vnxtest
