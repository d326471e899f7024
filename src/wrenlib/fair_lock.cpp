#include "wrenlib/fair_lock.h"

#include <chrono>
#include <thread>

#include "wrenlib/atomic_wait.h"

namespace vnxtest {

namespace {

using Clock = std::chrono::steady_clock;

// The holder mostly has some microseconds to go, a system call among them. Sleeping and being woken
// costs more than that, and whoever sleeps is not there in the instant in which the lock is free.
constexpr std::chrono::microseconds kSpinTime{50};
constexpr std::chrono::microseconds kLong{200};

// Tells the processor that this is a wait, so that its other half can go on.
void Relax() {
#if defined(__x86_64__)
    __builtin_ia32_pause();
#endif
}

} // namespace

bool FairLock::TryLock() {
    return m_held.load(std::memory_order_relaxed) == 0 && m_held.exchange(1, std::memory_order_acquire) == 0;
}

bool FairLock::SpinToLock(bool standsBack) {
    // Where the holder cannot run meanwhile, one look says it all.
    static const bool alone = std::thread::hardware_concurrency() == 1;
    const auto end = Clock::now() + (alone ? std::chrono::microseconds(0) : kSpinTime);
    do {
        for (int look = 0; look < 32; ++look) {
            if ((!standsBack || m_waitingLong.load(std::memory_order_relaxed) == 0) && TryLock()) {
                return true;
            }
            Relax();
        }
    } while (Clock::now() < end);
    return false;
}

void FairLock::lock() {
    if (m_waitingLong.load(std::memory_order_relaxed) == 0 && TryLock()) {
        return;
    }
    const auto asked = Clock::now();
    bool waitedLong = false;
    for (bool first = true; !SpinToLock(first); first = false) {
        if (!waitedLong && Clock::now() - asked > kLong) {
            waitedLong = true;
            m_waitingLong.fetch_add(1, std::memory_order_relaxed);
        }
        WaitWhile(m_held, 1);
    }
    if (waitedLong) {
        m_waitingLong.fetch_sub(1, std::memory_order_relaxed);
    }
}

void FairLock::unlock() {
    // A whole exchange: whoever is about to sleep has seen the lock held before, or is seen by the wake-up.
    m_held.exchange(0);
    WakeAllWaiting(m_held);
}

} // namespace vnxtest
