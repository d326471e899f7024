#include "core/interface_counts.h"

namespace vnxtest {

void InterfaceCounts::Clear() {
    for (auto& count : ignored) {
        count = 0;
    }
    echoRequestsAnswered = 0;
    arpRequestsAnswered = 0;
    rarpRequestsAnswered = 0;
    ignoredPings.Clear();
    conflict.Clear();
    statistics.reset();
    droppedByDriver.reset();
    noticed.reset();
}

const wchar_t* IgnoreReasonText(std::uint32_t reason) {
    constexpr std::array<const wchar_t*, kIgnoreReasons> kTexts = {
        L"Unknown packet",      L"Too tiny",          L"Fragmented",       L"Bad IP hdr version",
        L"Bad IP hdr length",   L"Not ICMP",          L"Not ping",         L"Bad ICMP code",
        L"Bad IP hdr checksum", L"Bad ICMP checksum", L"Not reply for us", L"Not ping for us",
    };
    return reason < kTexts.size() ? kTexts[reason] : L"(unknown)";
}

} // namespace vnxtest
