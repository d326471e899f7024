#include "ping/pace.h"

#include <algorithm>
#include <bit>

namespace vnxtest {

namespace {

using std::chrono::milliseconds;

// How long the reading thread may wait for a processor without a frame being lost.
constexpr milliseconds kReaderAway{10};
// At the beginning: how long the sender waits for the first replies once the free share is used up.
constexpr milliseconds kFirstReplies{10};
// Without progress for this long the open pings count as lost.
constexpr milliseconds kPatience{250};
// A wait this long means more than a reader without a processor; after several in a row the round trip is
// taken to have grown.
constexpr milliseconds kStall{20};
constexpr unsigned kStallsInARow = 3;
constexpr std::chrono::microseconds kShortestPause{100};
// At the rate: a wake-up costs as much as several pings, so that the pings of this time go together.
constexpr std::chrono::microseconds kRatePause{1000};
constexpr milliseconds kLongestPause{10};

// A slot of the ring: the frame and the driver's header before it.
constexpr std::size_t kSmallestSlot = 2048;
constexpr std::size_t kAroundData = 128;

} // namespace

std::size_t Pace::RingSlots(std::uint32_t bufferSize, std::uint32_t dataSize) {
    return bufferSize / std::bit_ceil(std::max(kSmallestSlot, dataSize + kAroundData));
}

void Pace::Begin(std::size_t ringSlots) {
    // Three eighths without a limit and half at the rate; the last eighth is for the frames of others.
    m_free = std::max<std::size_t>(ringSlots * 3 / 8, 1);
    m_interval =
        Clock::duration(kReaderAway) / static_cast<Clock::rep>(std::max<std::size_t>(ringSlots / 2, 1));
    m_writtenOff = 0;
    m_limited = m_triedFirst = m_blocked = false;
    m_lastDone = m_stallAt = 0;
    m_stalls = 0;
    m_done = 0;
    m_roundTrip = kUnknown;
}

std::size_t Pace::Open(std::size_t sent) const {
    const std::size_t done = std::max(m_done.load(std::memory_order_relaxed), m_writtenOff);
    return sent - std::min(sent, done);
}

bool Pace::IsFree(std::size_t sent) {
    if (Open(sent) >= m_free) {
        return false;
    }
    m_limited = m_blocked = false;
    return true;
}

void Pace::NoteProgress(std::size_t sent, Clock::time_point now, bool blocked) {
    const std::size_t done = m_done.load(std::memory_order_relaxed);
    if (done == m_lastDone) {
        m_blocked = m_blocked || blocked;
        return;
    }
    if (m_blocked && now - m_progress >= kStall) {
        m_stalls = sent - m_stallAt <= 4 * m_free ? m_stalls + 1 : 1;
        m_stallAt = sent;
        if (m_stalls >= kStallsInARow) {
            m_stalls = 0;
            m_roundTrip.store(kUnknown, std::memory_order_relaxed); // the next reply tells
        }
    }
    m_lastDone = done;
    m_progress = now;
    m_blocked = blocked;
}

Pace::Clock::duration Pace::Wait(std::size_t sent, Clock::time_point now) {
    const std::size_t open = Open(sent);
    const std::uint32_t roundTrip = m_roundTrip.load(std::memory_order_relaxed);
    if (!m_limited) {
        m_limited = true;
        m_next = now;
        m_progress = now;
        m_lastDone = m_done.load(std::memory_order_relaxed);
        if (roundTrip == kUnknown && !m_triedFirst) {
            // With a short round trip, replies come before the ring can be filled.
            m_triedFirst = true;
            m_next += kFirstReplies;
        }
    }
    // A tick is a millisecond, so the round trip may be one longer.
    const bool blocked = roundTrip != kUnknown &&
                         open >= m_free + static_cast<std::size_t>(milliseconds(roundTrip + 1) / m_interval);
    NoteProgress(sent, now, blocked);
    if (open < m_free) {
        m_limited = m_blocked = false;
        return {};
    }
    if (blocked) {
        const Clock::duration waited = now - m_progress;
        if (waited < kPatience) {
            // Back-off: the longer no reply has come, the longer the pause.
            return std::clamp<Clock::duration>(waited / 4, kShortestPause, kLongestPause);
        }
        m_writtenOff = sent;
        m_limited = m_blocked = false;
        m_roundTrip.store(kUnknown, std::memory_order_relaxed);
        return {};
    }
    if (now < m_next) {
        // What is late by then is sent together. Where replies take less than that, they may free the way
        // sooner.
        return roundTrip == 0 ? Clock::duration(kShortestPause) : kRatePause;
    }
    // A sender that was delayed itself catches up, but with no more pings than are free.
    m_next = std::max(m_next, now - m_interval * static_cast<Clock::rep>(m_free)) + m_interval;
    return {};
}

} // namespace vnxtest
