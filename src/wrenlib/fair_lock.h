// A lock that a thread which takes it again and again cannot keep from the others.
//
// For a lock that one thread holds nearly all the time and gives up only for an instant, as a thread
// does that sends without a pause: with an ordinary mutex it would take the lock back before a
// waiting thread has woken up. Nor is the lock handed over in the order of asking: while other programs
// want the processors, all would wait for whichever thread is next and does not run.
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
    // Looks for a free moment for a while. Who `standsBack` lets those go first who have waited long.
    bool SpinToLock(bool standsBack);

    std::atomic<std::uint32_t> m_held{0};
    std::atomic<std::uint32_t> m_waitingLong{0}; // how many have
};

} // namespace vnxtest
