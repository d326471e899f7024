// The tick counter: unsigned 32-bit milliseconds since an arbitrary start, wrapping every 49.7 days.
#pragma once

#include <cstdint>

namespace vnxtest {

// Now, on the monotonic clock (a change of the wall clock does not move it). Any thread; cannot fail.
std::uint32_t GetTicks();

// True if tick `a` is not before tick `b`, in wrap-around arithmetic (both within 24.8 days).
constexpr bool TickReached(std::uint32_t a, std::uint32_t b) {
    return static_cast<std::int32_t>(a - b) >= 0;
}

} // namespace vnxtest
