// The lines of a ping test. Each function writes its lines at once; any thread. Those that are written with
// every ping are put together in UTF-8, on the stack.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/ping_plan.h"
#include "ping/ping_record.h"
#include "ping/ping_statistics.h"
#include "wrenlib/address.h"

namespace vnxtest {

// An echo reply for the guest, as it was received.
struct ReceivedReply {
    std::uint16_t icmpId = 0;  // network order
    std::uint16_t icmpSeq = 0; // network order
    Ipv4Address source;
    std::uint32_t dataLength = 0; // bytes
    std::uint8_t timeToLive = 0;
    std::int64_t stampUnixNs = 0; // when the kernel got it, nanoseconds since 1970; 0: not known
};

// The target in the lines: "name [address]", or the address alone if no name was typed.
std::wstring DescribePingTarget(const PingPlan& plan);

// The test's numbers, under its title.
void LogPingPlan(const PingPlan& plan, std::wstring_view target);
// `target` in UTF-8 without invisible characters (VisibleUtf8).
void LogSending(std::uint16_t number, const PingPlan& plan, std::string_view target);
// The line of a reply to the ping of this number; `ping` holds its time and its count.
void LogReply(std::uint16_t number, const CPing& ping, const ReceivedReply& reply);
// The guest answers the ping of this station.
void LogAnswering(Ipv4Address station);
void LogTimeout(std::uint16_t number);
// The ping could not be written, and the test ends.
void LogSendFailure(std::uint16_t number);
// The figures and the verdict.
void LogStatistics(const PingStatistics& statistics, std::wstring_view target);

} // namespace vnxtest
