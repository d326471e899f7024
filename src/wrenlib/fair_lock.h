// A lock that is granted in the order it was asked for.
//
// For a lock that one thread holds nearly all the time and gives up only for an instant, as a thread
// does that sends without a pause: with an ordinary mutex it would take the lock back before a
// waiting thread has woken up.
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
    std::atomic<std::uint32_t> m_nextTicket{0};
    std::atomic<std::uint32_t> m_serving{0};
};

} // namespace vnxtest
