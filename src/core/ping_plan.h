// The plan of a ping test: the target, and the four numbers with their ranges. The profile, the options,
// the dialog and the test itself all use this one record.
#pragma once

#include <cstdint>
#include <string>

#include "wrenlib/address.h"
#include "wrenlib/number_range.h"

namespace vnxtest {

// 65507 bytes and the two headers fill the largest IPv4 packet.
inline constexpr NumberRange kPingSizeRange{8, 65507, 32};
// The terminal program also takes 0: the test goes on until it is stopped.
inline constexpr NumberRange kPingCountRange{1, 65535, 3};
inline constexpr NumberRange kPingTimeoutRange{0, 10000, 500}; // milliseconds
inline constexpr NumberRange kPingDelayRange{0, 10000, 1000};  // milliseconds

// The target until one is stored: a public host.
inline constexpr Ipv4Address kDefaultPingTarget{1, 1, 1, 1};

struct PingPlan {
    Ipv4Address target = kDefaultPingTarget;
    std::wstring targetName;                            // as typed
    std::uint32_t dataSize = kPingSizeRange.standard;   // payload bytes
    std::uint32_t numPings = kPingCountRange.standard;  // 0: until stopped
    std::uint32_t timeout = kPingTimeoutRange.standard; // milliseconds
    std::uint32_t delay = kPingDelayRange.standard;     // milliseconds
};

} // namespace vnxtest
