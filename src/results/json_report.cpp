#include "results/json_report.h"

#include "ping/round_trip_figures.h"
#include "results/date_text.h"
#include "wrenlib/product.h"
#include "wrenlib/text.h"
#include "wrenlib/ticks.h"

namespace vnxtest {

namespace {

Json TextOrNull(const std::wstring& text) {
    return text.empty() ? Json() : Json(ToUtf8(text));
}

Json DateOrNull(std::int64_t unixNs) {
    return unixNs == 0 ? Json() : Json(DateText(unixNs));
}

Json PingJson(const CPing& ping, std::size_t index, std::uint32_t firstTick) {
    const bool late = ping.nReplies > 0 && !TickReached(ping.dwDeadlineTick, ping.dwReplyTick);
    return Json{
        {"number", index + 1},
        {"sequence", ping.SequenceNumber()},
        {"sentMs", ping.dwSentTick - firstTick},
        {"replies", ping.nReplies},
        {"timeMs", ping.nReplies > 0 ? Json(ping.dwReplyTick - ping.dwSentTick) : Json()},
        {"timedOut", ping.nTimeouts != 0},
        {"lateMs", late ? Json(ping.dwReplyTick - ping.dwDeadlineTick) : Json()},
        {"rttNs", ping.nReplies > 0 ? Json(ping.roundTripNs) : Json()},
        {"sentAt", DateText(ping.sent.unixNs)},
    };
}

Json RoundTripJson(const std::optional<RoundTripFigures>& figures) {
    if (!figures) {
        return {};
    }
    return Json{
        {"min", figures->minimum},
        {"mean", figures->mean},
        {"median", figures->median},
        {"p95", figures->percentile95},
        {"p99", figures->percentile99},
        {"max", figures->maximum},
        {"standardDeviation", figures->standardDeviation},
        {"jitter", figures->jitter},
    };
}

Json PingTestJson(const PingTestResult& result) {
    const PingPlan& plan = result.plan;
    const PingStatistics& statistics = result.statistics;
    Json pings = Json::array();
    for (const CPing& ping : result.records.pings) {
        pings.push_back(PingJson(ping, result.records.first + pings.size(), result.firstTick));
    }
    return Json{
        {"complete", result.complete},
        {"writeFailed", result.writeFailed},
        {"target", ToUtf8(plan.targetName)},
        {"targetIp", ToUtf8(FormatIPAddr(plan.target))},
        {"size", plan.dataSize},
        {"count", plan.numPings},
        {"timeoutMs", plan.timeout},
        {"delayMs", plan.delay},
        {"statistics",
         {
             {"sent", statistics.sent},
             {"received", statistics.received},
             {"timeouts", statistics.timeouts},
             {"duplicates", statistics.duplicates},
             {"lost", statistics.lost},
             {"lossPercent", statistics.lossPercent},
             {"minimumMs", statistics.minimum},
             {"maximumMs", statistics.maximum},
             {"averageMs", statistics.average},
         }},
        {"pings", std::move(pings)},
        {"startedAt", DateOrNull(result.beganUnixNs)},
        {"endedAt", DateOrNull(result.endedUnixNs)},
        {"roundTripNs", RoundTripJson(FiguresOf(result.records.pings))},
    };
}

Json StatisticsJson(const VnetxStatistics& record) {
    return Json{
        {"length", record.length},
        {"kernelBufferSize", record.kernelBufferSize},
        {"ioBufferSize", record.ioBufferSize},
        {"maximumBytesReceived", record.maximumBytesReceived},
        {"writeCalls", record.writeCalls},
        {"writeIos", record.writeIos},
        {"readCalls", record.readCalls},
        {"readIos", record.readIos},
        {"packetsRead", record.packetsRead},
        {"packetsWritten", record.packetsWritten},
        {"bytesRead", record.bytesRead},
        {"bytesWritten", record.bytesWritten},
        {"internalArps", record.internalArps},
        {"ignored", record.ignored},
        {"fromOurself", record.fromOurself},
        {"toZeroMacRead", record.toZeroMacRead},
        {"toZeroMacWritten", record.toZeroMacWritten},
        {"fromZeroMacRead", record.fromZeroMacRead},
        {"fromZeroMacWritten", record.fromZeroMacWritten},
    };
}

Json InterfaceJson(const INTERFACE_INFO& info, std::size_t index) {
    Json ignored = Json::object();
    for (std::uint32_t reason = 0; reason < kIgnoreReasons; ++reason) {
        ignored[ToUtf8(IgnoreReasonText(reason))] = info.counted.ignored[reason].load();
    }
    return Json{
        {"interface", index + 1},
        {"name", TextOrNull(info.open.Name())},
        {"mode", info.asked.tapMode ? "tap" : "tun"},
        {"guestIp", TextOrNull(info.asked.guestIpText)},
        {"guestMac", TextOrNull(info.asked.guestMacText)},
        {"adapterIp",
         info.addresses.adapterIp.IsZero() ? Json() : Json(ToUtf8(FormatIPAddr(info.addresses.adapterIp)))},
        {"adapterMac", info.addresses.adapterMac.IsZero()
                           ? Json()
                           : Json(ToUtf8(FormatMACAddr(info.addresses.adapterMac)))},
        {"answered",
         {
             {"echo", info.counted.echoRequestsAnswered.load()},
             {"arp", info.counted.arpRequestsAnswered.load()},
             {"rarp", info.counted.rarpRequestsAnswered.load()},
         }},
        {"ignored", std::move(ignored)},
        {"droppedByDriver", info.counted.droppedByDriver ? Json(*info.counted.droppedByDriver) : Json()},
        {"statistics", info.counted.statistics ? StatisticsJson(*info.counted.statistics) : Json()},
    };
}

Json EvidenceJson(const EvidenceValue& value) {
    if (const auto* const text = std::get_if<std::wstring>(&value)) {
        return ToUtf8(*text);
    }
    if (const auto* const texts = std::get_if<std::vector<std::wstring>>(&value)) {
        Json list = Json::array();
        for (const std::wstring& each : *texts) {
            list.push_back(ToUtf8(each));
        }
        return list;
    }
    const auto* const number = std::get_if<std::uint64_t>(&value);
    return number != nullptr ? Json(*number) : Json(std::get<bool>(value));
}

Json FindingJson(const Finding& finding) {
    Json evidence = Json::object();
    for (const auto& [name, value] : finding.evidence) {
        evidence[name] = EvidenceJson(value);
    }
    return Json{
        {"id", finding.id},
        {"severity", ToUtf8(NameOf(finding.severity))},
        {"interface", finding.interfaceNumber != 0 ? Json(finding.interfaceNumber) : Json()},
        {"seen", ToUtf8(finding.seen)},
        {"means", ToUtf8(finding.means)},
        {"action", ToUtf8(finding.action)},
        {"page", finding.Page()},
        {"evidence", std::move(evidence)},
    };
}

Json CaptureJson(const std::optional<CaptureResult>& capture) {
    if (!capture) {
        return {};
    }
    return Json{
        {"file", ToUtf8(capture->file)},
        {"frames", capture->frames},
        {"dropped", capture->dropped},
        {"complete", capture->complete},
    };
}

} // namespace

std::string JsonText(const Json& value) {
    // A text that is not UTF-8 (of a library, a host name) must not lose the whole result.
    return value.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

Json InterfacesJson(const std::array<const INTERFACE_INFO*, 2>& interfaces) {
    Json list = Json::array();
    for (std::size_t index = 0; index < interfaces.size(); ++index) {
        if (interfaces[index] != nullptr) {
            list.push_back(InterfaceJson(*interfaces[index], index));
        }
    }
    return list;
}

std::string RunResultsJson(const RunResults& results) {
    Json advice = Json::array();
    for (const Finding& finding : results.advice) {
        advice.push_back(FindingJson(finding));
    }
    return JsonText(Json{
        {"version", kJsonVersion},
        {"program", kProductAndVersion},
        {"library", ToUtf8(results.library)},
        {"whyNotThePackage", TextOrNull(results.whyNotThePackage)},
        {"command", ToUtf8(results.command)},
        {"exitStatus", results.exitStatus},
        {"problem", TextOrNull(results.problem)},
        {"ping", results.ping != nullptr ? PingTestJson(*results.ping) : Json()},
        {"interfaces", results.interfaces},
        {"advice", std::move(advice)},
        {"startedAt", DateOrNull(results.beganUnixNs)},
        {"endedAt", DateOrNull(results.endedUnixNs)},
        {"capture", CaptureJson(results.capture)},
    });
}

} // namespace vnxtest
