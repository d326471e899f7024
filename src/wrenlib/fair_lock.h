// A lock that no thread can monopolise by taking it again and again.
//
// A thread that sends without a pause holds the lock nearly all the time and gives it up for an instant:
// with an ordinary mutex it would take the lock back before a waiter has woken up. Waiters spin, then
// sleep; whoever comes gives way to those that spin now and then, for some microseconds, and to one that has
// waited long. The lock is not handed over in the order of asking: with busy processors all would wait for a
// next thread that does not run.
#pragma once

#include <atomic>
#include <cstdint>

namespace vnxtest {

// Meets the Lockable names of the standard library that std::lock_guard and std::unique_lock need.
// Not recursive.
class FairLock {
public:
    FairLock() = default;
    FairLock(const FairLock&) = delete;
    FairLock& operator=(const FairLock&) = delete;

    void lock();
    void unlock();

private:
    bool TryLock();
    // Spins for a while; true if it took the lock. With `standsBack` threads that have waited long go
    // first.
    bool SpinToLock(bool standsBack);
    bool Spin(bool standsBack);
    void GiveWay();

    std::atomic<std::uint32_t> m_held{0};
    std::atomic<std::uint32_t> m_spinning{0};    // threads that spin
    std::atomic<std::uint32_t> m_turns{0};       // with somebody spinning
    std::atomic<std::uint32_t> m_waitingLong{0}; // threads that have waited long
};

} // namespace vnxtest
