// Hands whole batches of lines to the debug trace, on a thread of its own.
//
// A debugger takes its time with each text, and a program that shows them may take seconds: neither may hold
// up the one who hands the lines over. What the trace cannot keep up with is left out, and said.
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
    // Waits for what is being traced, and a second for what waits.
    ~TraceFeed();
    TraceFeed(const TraceFeed&) = delete;
    TraceFeed& operator=(const TraceFeed&) = delete;

    // Takes `lines` (UTF-8, each ended by "\n") over. One thread at a time. Starts the thread at the first
    // call; where there can be none the lines are left out.
    void Hand(std::string_view lines);

private:
    void Run();

    // By hand and not by a stop token: where the system has no futex, the standard library's wait for the end
    // of a stop callback can miss its wake-up, and the program would never end.
    std::mutex m_lock; // guards the next three
    std::string m_waiting;
    std::size_t m_leftOut = 0; // lines since the last that were taken
    bool m_ending = false;
    std::condition_variable m_wake;
    std::thread m_thread;
};

} // namespace vnxtest
