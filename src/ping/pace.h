// The pace of a sender without a delay: as fast as the receive ring can take the replies.
//
// The receive ring, of frames that have arrived unread, can overflow; frames on the wire cannot. While
// fewer pings are open than a share of the ring holds, there is no limit. Beyond that there is a rate: that
// which fills the rest of the ring while the reader waits for a processor. Once the round trip is known,
// the in-flight window is bounded by rate times round trip: more open pings mean that the reader does not
// run, and the sender waits for it.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace vnxtest {

class Pace {
public:
    using Clock = std::chrono::steady_clock;

    // Begins a test. `ringSlots` is how many frames may arrive unread. No other thread uses the object
    // meanwhile.
    void Begin(std::size_t ringSlots);

    // How many frames a driver's buffer of `bufferSize` bytes is sure to hold, with `dataSize` bytes in a
    // reply: a slot is at least a full Ethernet frame, and a power of two at most.
    static std::size_t RingSlots(std::uint32_t bufferSize, std::uint32_t dataSize);

    // The ping at `position` is decided; those before it count as answered, lost or late. Any thread, one
    // at a time (under the ping list lock).
    void NoteDone(std::size_t position) {
        if (position >= m_done.load(std::memory_order_relaxed)) {
            m_done.store(position + 1, std::memory_order_relaxed);
        }
    }
    // The same for one that was answered after `roundTrip` milliseconds.
    void NoteReply(std::size_t position, std::uint32_t roundTrip) {
        NoteDone(position);
        if (roundTrip < m_roundTrip.load(std::memory_order_relaxed)) {
            m_roundTrip.store(roundTrip, std::memory_order_relaxed);
        }
    }

    // Send thread. True if the next ping may be sent at once, whatever the time.
    bool IsFree(std::size_t sent);
    // Send thread. 0 if the next ping may be sent at `now`; else how long to wait before the next call.
    Clock::duration Wait(std::size_t sent, Clock::time_point now);

private:
    static constexpr std::uint32_t kUnknown = 0xFFFFFFFF;

    std::size_t Open(std::size_t sent) const;
    void NoteProgress(std::size_t sent, Clock::time_point now, bool blocked);

    std::size_t m_free = 0;         // pings that may be open without a limit
    Clock::duration m_interval{};   // the rate beyond that, as the time between two pings
    std::size_t m_writtenOff = 0;   // pings before this position count as lost
    bool m_limited = false;         // the last ping was not free
    bool m_triedFirst = false;      // the first replies were waited for
    Clock::time_point m_next{};     // the moment for the next ping at the rate
    std::size_t m_lastDone = 0;     // the progress seen last
    Clock::time_point m_progress{}; // and when
    bool m_blocked = false;         // more were open than the rate explains since then
    unsigned m_stalls = 0;          // in a row
    std::size_t m_stallAt = 0;      // sent at the latest of them

    std::atomic<std::size_t> m_done{0};
    std::atomic<std::uint32_t> m_roundTrip{kUnknown}; // the shortest
};

} // namespace vnxtest
