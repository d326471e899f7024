// Hands whole batches of lines to the debug trace, on a thread of its own.
//
// A debugger, or a program that shows debug output, may take seconds for a text and must not block the
// caller. Lines beyond kMostWaiting are left out; a line of the trace says how many.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace vnxtest {

class TraceFeed {
public:
    static constexpr std::size_t kMostWaiting = std::size_t{4} * 1024 * 1024;

    TraceFeed() = default;
    // Joins the thread, which finishes the piece it is in and traces the rest for one second at most.
    ~TraceFeed();
    TraceFeed(const TraceFeed&) = delete;
    TraceFeed& operator=(const TraceFeed&) = delete;

    // Queues `lines` (UTF-8, each ended by "\n") and returns at once. One thread at a time. Starts the
    // thread at the first call; if the system has none to give the lines are left out.
    void Hand(std::string_view lines);

private:
    void Run();

    // No std::stop_token: without futexes the standard library's wait for the end of a stop callback can
    // miss its wake-up, and the program would never end.
    std::mutex m_lock; // guards the next three
    std::string m_waiting;
    std::size_t m_leftOut = 0; // lines left out since the last call that queued
    bool m_ending = false;
    std::condition_variable m_wake;
    std::thread m_thread;
};

} // namespace vnxtest
