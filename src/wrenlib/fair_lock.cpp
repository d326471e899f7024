#include "wrenlib/fair_lock.h"

#include "wrenlib/atomic_wait.h"

namespace vnxtest {

void FairLock::lock() {
    const std::uint32_t ticket = m_nextTicket.fetch_add(1, std::memory_order_relaxed);
    std::uint32_t serving = m_serving.load(std::memory_order_acquire);
    // The holder mostly has a few microseconds to go; sleeping and being woken costs more than that.
    for (int spins = 0; serving != ticket && spins < 2000; ++spins) {
        serving = m_serving.load(std::memory_order_acquire);
    }
    while (serving != ticket) {
        WaitWhile(m_serving, serving);
        serving = m_serving.load(std::memory_order_acquire);
    }
}

void FairLock::unlock() {
    m_serving.fetch_add(1, std::memory_order_release);
    WakeAllWaiting(m_serving);
}

} // namespace vnxtest
