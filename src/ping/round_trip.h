// The time of one round trip in nanoseconds, on the steady clock.
//
// The ticks of the document are milliseconds, and on a LAN all of them are "<1". A kernel's stamp of the
// reply leaves out how long the reading thread took to wake up, but is of the clock that can be set.
#pragma once

#include <cstdint>

namespace vnxtest {

// One moment on both clocks, read right after another, in nanoseconds.
struct ClockReading {
    std::int64_t steadyNs = 0; // since an arbitrary start; is never set
    std::int64_t unixNs = 0;   // since 1970; may jump

    // Any thread; cannot fail.
    static ClockReading Now();
    // As GetTicks() at that moment.
    std::uint32_t Ticks() const { return static_cast<std::uint32_t>(steadyNs / 1'000'000); }
};

// The round trip of a request that was written at `sent` and whose reply was read at `read`. `stampUnixNs`,
// the kernel's stamp of the reply (0: none), is used if both clocks have advanced alike from `sent` to
// `read`, so that neither has jumped, and if it lies between them; otherwise the reply came when it was read.
// Never negative.
std::int64_t RoundTripNs(const ClockReading& sent, const ClockReading& read, std::int64_t stampUnixNs);

} // namespace vnxtest
