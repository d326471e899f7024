// The pace of a sender without a delay: as fast as the receiving side can take the replies.
//
// What can overflow is the ring of frames that have arrived and that nobody has read yet; what is still on
// its way cannot. While fewer pings are open than a share of the ring holds, nothing can overflow, and there
// is no limit. Beyond that there is a rate: what the rest of the ring takes while the thread that reads it
// has to wait for a processor. And once it is known how long a reply takes, no more pings are open than
// that rate makes: more means that the reader is kept from reading, and the sender waits for it.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace vnxtest {

class Pace {
public:
    using Clock = std::chrono::steady_clock;

    // Begins a test: nothing is sent or answered. `ringSlots` is how many frames may arrive unread. No other
    // thread uses the object meanwhile.
    void Begin(std::size_t ringSlots);

    // How many frames a driver's buffer of `bufferSize` bytes is sure to hold, where a reply carries
    // `dataSize` bytes: each takes a slot for a full Ethernet frame at least, and of a power of two at most.
    static std::size_t RingSlots(std::uint32_t bufferSize, std::uint32_t dataSize);

    // A ping is decided: what was sent before `position` is answered, lost or late. Any thread, one at a
    // time.
    void NoteDone(std::size_t position) {
        if (position >= m_done.load(std::memory_order_relaxed)) {
            m_done.store(position + 1, std::memory_order_relaxed);
        }
    }
    // The same of one that was answered after `roundTrip` milliseconds.
    void NoteReply(std::size_t position, std::uint32_t roundTrip) {
        NoteDone(position);
        if (roundTrip < m_roundTrip.load(std::memory_order_relaxed)) {
            m_roundTrip.store(roundTrip, std::memory_order_relaxed);
        }
    }

    // The sender's thread. True when the next ping may be sent at once whatever the clock says.
    bool IsFree(std::size_t sent);
    // 0 when the next ping may be sent at `now`; else how long to wait before asking again.
    Clock::duration Wait(std::size_t sent, Clock::time_point now);

private:
    static constexpr std::uint32_t kUnknown = 0xFFFFFFFF;

    std::size_t Open(std::size_t sent) const;
    void NoteProgress(std::size_t sent, Clock::time_point now, bool blocked);

    std::size_t m_free = 0;         // so many may be open without a limit
    Clock::duration m_interval{};   // the rate beyond that, as the time between two pings
    std::size_t m_writtenOff = 0;   // up to here, no more waited for
    bool m_limited = false;         // the last question was not free
    bool m_triedFirst = false;      // the first replies were given a moment
    Clock::time_point m_next{};     // the moment for the next ping at the rate
    std::size_t m_lastDone = 0;     // the progress seen last
    Clock::time_point m_progress{}; // and when
    bool m_blocked = false;         // since then more were open than the rate explains
    unsigned m_stalls = 0;          // in a row
    std::size_t m_stallAt = 0;      // sent at the latest of them

    std::atomic<std::size_t> m_done{0};
    std::atomic<std::uint32_t> m_roundTrip{kUnknown}; // the shortest
};

} // namespace vnxtest
