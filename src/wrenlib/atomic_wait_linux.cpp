#include "wrenlib/atomic_wait.h"

namespace vnxtest {

void WaitWhile(const std::atomic<std::uint32_t>& number, std::uint32_t value) {
    number.wait(value, std::memory_order_acquire);
}

void WakeAllWaiting(std::atomic<std::uint32_t>& number) {
    number.notify_all();
}

} // namespace vnxtest
