#include <windows.h>

#include "wrenlib/atomic_wait.h"

namespace vnxtest {

static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t));

void WaitWhile(const std::atomic<std::uint32_t>& number, std::uint32_t value) {
    auto& address = const_cast<std::atomic<std::uint32_t>&>(number); // it is only read
    WaitOnAddress(&address, &value, sizeof value, INFINITE);
}

void WakeAllWaiting(std::atomic<std::uint32_t>& number) {
    WakeByAddressAll(&number);
}

} // namespace vnxtest
