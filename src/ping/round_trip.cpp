#include "ping/round_trip.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>

namespace vnxtest {

namespace {

// Between the readings of the two clocks a thread may wait a little, and a clock that is being corrected runs
// up to half a thousandth fast or slow (adjtime(3)). More is taken for a jump.
constexpr std::int64_t kReadingNs = 10'000;
constexpr std::int64_t kCorrectionPart = 1'000;

template <typename Clock>
std::int64_t NanosecondsOf() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count();
}

} // namespace

ClockReading ClockReading::Now() {
    ClockReading now;
    now.steadyNs = NanosecondsOf<std::chrono::steady_clock>();
    now.unixNs = NanosecondsOf<std::chrono::system_clock>();
    return now;
}

std::int64_t RoundTripNs(const ClockReading& sent, const ClockReading& read, std::int64_t stampUnixNs) {
    const std::int64_t wholeNs = std::max<std::int64_t>(read.steadyNs - sent.steadyNs, 0);
    const std::int64_t jumpNs = (read.unixNs - sent.unixNs) - (read.steadyNs - sent.steadyNs);
    const std::int64_t sinceStampNs = read.unixNs - stampUnixNs;
    const bool isSound = stampUnixNs != 0 && std::abs(jumpNs) <= kReadingNs + wholeNs / kCorrectionPart &&
                         sinceStampNs >= 0 && sinceStampNs <= wholeNs;
    return isSound ? wholeNs - sinceStampNs : wholeNs;
}

} // namespace vnxtest
