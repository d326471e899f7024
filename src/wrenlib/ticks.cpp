#include "wrenlib/ticks.h"

#include <chrono>

namespace vnxtest {

std::uint32_t GetTicks() {
    using std::chrono::milliseconds;
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(std::chrono::duration_cast<milliseconds>(now).count());
}

} // namespace vnxtest
