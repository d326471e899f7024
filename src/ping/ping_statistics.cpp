#include "ping/ping_statistics.h"

#include <algorithm>

namespace vnxtest {

void PingTotals::Add(const CPing& ping) {
    ++sent;
    timeouts += ping.nTimeouts != 0 ? 1 : 0;
    if (ping.nReplies == 0) {
        return;
    }
    const std::uint32_t roundTrip = ping.dwReplyTick - ping.dwSentTick;
    ++received;
    duplicates += ping.nReplies - 1;
    sum += roundTrip;
    minimum = std::min(minimum, roundTrip);
    maximum = std::max(maximum, roundTrip);
    sumNs += ping.roundTripNs;
    minimumNs = std::min(minimumNs, ping.roundTripNs);
    maximumNs = std::max(maximumNs, ping.roundTripNs);
    if (ping.nTimeouts != 0) {
        ++late;
    } else {
        maximumInTimeNs = std::max(maximumInTimeNs, ping.roundTripNs);
    }
}

PingStatistics PingTotals::Statistics() const {
    PingStatistics result;
    result.sent = sent;
    result.received = received;
    result.timeouts = timeouts;
    result.duplicates = duplicates;
    result.lost = sent - received;
    if (received != 0) {
        result.minimum = minimum;
        result.maximum = maximum;
        result.average = static_cast<std::uint32_t>(sum / received);
    }
    if (sent != 0) {
        // Tenths of a percent, rounded, then rounded half up to whole percent.
        const std::uint64_t tenths = (result.lost * 1000 + sent / 2) / sent;
        result.lossPercent = static_cast<std::uint32_t>((tenths + 5) / 10);
    }
    return result;
}

} // namespace vnxtest
