#include "ping/ping_texts.h"

#include <cstring>

#include <fmt/format.h>

#include "ping/statistics_text.h"
#include "wrenlib/format.h"
#include "wrenlib/log.h"
#include "wrenlib/ticks.h"

namespace vnxtest {

namespace {

// Puts a line together on the stack, part by part: several times as fast as a format string.
class Line {
public:
    Line() { m_room.resize(m_room.capacity()); }

    Line& operator<<(std::string_view part) {
        if (m_room.size() - m_length < part.size()) {
            m_room.resize(m_length + part.size());
        }
        std::memcpy(m_room.data() + m_length, part.data(), part.size());
        m_length += part.size();
        return *this;
    }
    Line& operator<<(std::uint32_t number) {
        const fmt::format_int digits(number);
        return *this << std::string_view(digits.data(), digits.size());
    }

    void Log() const { LogLine({m_room.data(), m_length}); }

private:
    fmt::memory_buffer m_room;
    std::size_t m_length = 0;
};

} // namespace

std::wstring DescribePingTarget(const PingPlan& plan) {
    const std::wstring address = FormatIPAddr(plan.target);
    return plan.targetName.empty() || plan.targetName == address
               ? address
               : Sprintf(L"%s [%s]", plan.targetName, address);
}

std::wstring PingPlanText(const PingPlan& plan, std::wstring_view target) {
    return Sprintf(L" ping  -c %d  -i %d  -s %d  -w %d  %s", plan.numPings, plan.delay, plan.dataSize,
                   plan.timeout, target);
}

void LogPingPlan(const PingPlan& plan, std::wstring_view target) {
    LogMsg(L"%s\n\n", PingPlanText(plan, target));
}

void LogSending(std::uint16_t number, const PingPlan& plan, std::string_view target) {
    (Line() << " Sending ping #" << number << " bytes=" << plan.dataSize << " to " << target << "...\n")
        .Log();
}

void LogReply(std::uint16_t number, const CPing& ping, const ReceivedReply& reply) {
    const std::uint32_t now = ping.dwReplyTick;
    const std::uint32_t roundTrip = now - ping.dwSentTick;
    const bool late = TickReached(now, ping.dwDeadlineTick) && now != ping.dwDeadlineTick;
    Line line;
    line << " Reply";
    if (ping.nReplies > 1) {
        line << " #" << ping.nReplies;
    }
    line << " to ping #" << number << " received from " << Ipv4Text(reply.source)
         << ": bytes=" << reply.dataLength << " time=";
    if (roundTrip == 0) {
        line << "<1";
    } else {
        line << roundTrip;
    }
    line << "ms TTL=" << std::uint32_t{reply.timeToLive};
    if (late) {
        line << " (" << now - ping.dwDeadlineTick << "ms late)";
    }
    (line << "\n").Log();
}

void LogAnswering(Ipv4Address station) {
    (Line() << "** Someone is PINGing Vant!\n** Sending PING reply to " << Ipv4Text(station) << "\n").Log();
}

void LogTimeout(std::uint16_t number) {
    (Line() << " Ping #" << number << " has timed out.\n").Log();
}

void LogSendFailure(std::uint16_t number) {
    LogMsg(L"\n***  Ping #%hu failed; abort  ***\n\n", number);
}

std::wstring StatisticsText(const PingStatistics& statistics, std::wstring_view target) {
    return Sprintf(L"\n Ping statistics for %s:\n\n"
                   L" %5u Pings Sent\n"
                   L" %5u Replies Received (Minimum = %ums, Maximum = %ums, Average = %ums)\n"
                   L" %5u Pings Timeouts\n"
                   L" %5u Duplicate Replies\n"
                   L" %5u Pings Lost (%u%%)\n\n",
                   target, statistics.sent, statistics.received, statistics.minimum, statistics.maximum,
                   statistics.average, statistics.timeouts, statistics.duplicates, statistics.lost,
                   statistics.lossPercent) +
           (statistics.lost != 0 ? L" Ping test has FAILED.\n" : L" Ping test successful.\n");
}

void LogStatistics(const PingStatistics& statistics, std::wstring_view target) {
    LogMsg(L"%s", StatisticsText(statistics, target));
}

} // namespace vnxtest
