#include "ping/ping_texts.h"

#include "wrenlib/format.h"
#include "wrenlib/log.h"
#include "wrenlib/ticks.h"

namespace vnxtest {

std::wstring DescribePingTarget(const PingPlan& plan) {
    const std::wstring address = FormatIPAddr(plan.target);
    return plan.targetName.empty() || plan.targetName == address
               ? address
               : Sprintf(L"%s [%s]", plan.targetName, address);
}

void LogPingPlan(const PingPlan& plan, std::wstring_view target) {
    LogMsg(L" ping  -c %d  -i %d  -s %d  -w %d  %s\n\n", plan.numPings, plan.delay, plan.dataSize,
           plan.timeout, target);
}

void LogSending(std::uint16_t number, const PingPlan& plan, std::wstring_view target) {
    LogMsg(L" Sending ping #%hu bytes=%d to %s...\n", number, plan.dataSize, target);
}

void LogReply(std::uint16_t number, const CPing& ping, const ReceivedReply& reply) {
    const std::uint32_t now = ping.dwReplyTick;
    const std::uint32_t roundTrip = now - ping.dwSentTick;
    const std::wstring timeText = roundTrip == 0 ? std::wstring(L"<1") : std::to_wstring(roundTrip);
    const std::wstring countText = ping.nReplies > 1 ? Sprintf(L" #%u", ping.nReplies) : std::wstring();
    const bool late = TickReached(now, ping.dwDeadlineTick) && now != ping.dwDeadlineTick;
    const std::wstring lateText = late ? Sprintf(L" (%ums late)", now - ping.dwDeadlineTick) : std::wstring();
    LogMsg(L" Reply%s to ping #%hu received from %s: bytes=%d time=%sms TTL=%u%s\n", countText, number,
           FormatIPAddr(reply.source), reply.dataLength, timeText, reply.timeToLive, lateText);
}

void LogTimeout(std::uint16_t number) {
    LogMsg(L" Ping #%hu has timed out.\n", number);
}

void LogSendFailure(std::uint16_t number) {
    LogMsg(L"\n***  Ping #%hu failed; abort  ***\n\n", number);
}

void LogStatistics(const PingStatistics& statistics, std::wstring_view target) {
    LogMsg(L"\n Ping statistics for %s:\n\n"
           L" %5u Pings Sent\n"
           L" %5u Replies Received (Minimum = %ums, Maximum = %ums, Average = %ums)\n"
           L" %5u Pings Timeouts\n"
           L" %5u Duplicate Replies\n"
           L" %5u Pings Lost (%u%%)\n\n",
           target, statistics.sent, statistics.received, statistics.minimum, statistics.maximum,
           statistics.average, statistics.timeouts, statistics.duplicates, statistics.lost,
           statistics.lossPercent);
    if (statistics.lost != 0) {
        LogMsg(L" Ping test has FAILED.\n");
    } else {
        LogMsg(L" Ping test successful.\n");
    }
}

} // namespace vnxtest
