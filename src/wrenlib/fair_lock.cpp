#include "wrenlib/fair_lock.h"

#include <chrono>
#include <thread>

#include "wrenlib/atomic_wait.h"

namespace vnxtest {

namespace {

using Clock = std::chrono::steady_clock;

// The holder usually needs some microseconds more, with a system call among them. Sleeping and waking costs
// more than spinning for that time, and a sleeper misses the short moment in which the lock is free.
constexpr std::chrono::microseconds kSpinTime{50};
constexpr std::chrono::microseconds kLong{200};

// The processor's spin hint, which leaves its resources to the other hardware thread.
void Relax() {
#if defined(__x86_64__)
    __builtin_ia32_pause();
#endif
}

} // namespace

bool FairLock::TryLock() {
    return m_held.load(std::memory_order_relaxed) == 0 && m_held.exchange(1, std::memory_order_acquire) == 0;
}

// A thread that spins is late by what it takes to see the lock free. It gets a while of its own now and then,
// until it has come for the lock no more; each time, the lock and all it guards would go to and fro between
// two processors.
void FairLock::GiveWay() {
    constexpr std::uint32_t kTurns = 16;
    constexpr int kMostLooks = 400, kQuietLooks = 16;
    const std::uint32_t turn = m_turns.load(std::memory_order_relaxed) + 1;
    m_turns.store(turn, std::memory_order_relaxed);
    if (turn % kTurns != 0) {
        return;
    }
    int quiet = 0;
    for (int look = 0; look < kMostLooks && quiet < kQuietLooks; ++look) {
        const bool wanted =
            m_held.load(std::memory_order_relaxed) != 0 || m_spinning.load(std::memory_order_relaxed) != 0;
        quiet = wanted ? 0 : quiet + 1;
        Relax();
    }
}

bool FairLock::SpinToLock(bool standsBack) {
    m_spinning.fetch_add(1, std::memory_order_relaxed);
    const bool taken = Spin(standsBack);
    m_spinning.fetch_sub(1, std::memory_order_relaxed);
    return taken;
}

bool FairLock::Spin(bool standsBack) {
    // With one processor the holder cannot run meanwhile: no spinning.
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
    if (m_spinning.load(std::memory_order_relaxed) != 0) {
        GiveWay();
    }
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
    // Sequentially consistent: a waiter that is about to sleep either sees the lock free or is seen by the
    // wake-up.
    m_held.exchange(0);
    WakeAllWaiting(m_held);
}

} // namespace vnxtest
