#include "ping/pace.h"

#include <algorithm>
#include <bit>

namespace vnxtest {

namespace {

using std::chrono::milliseconds;

// For how long the reading thread may have to wait for a processor without a frame being lost.
constexpr milliseconds kReaderAway{10};
// At the beginning, and at one end of the ring: how long the first replies are waited for.
constexpr milliseconds kFirstReplies{10};
// Without any progress for so long, the replies that are still out are taken for lost.
constexpr milliseconds kPatience{250};
// A sender that waits for so long has met more than a reader that was away; after several such waits in a
// row the replies have a longer way than they had.
constexpr milliseconds kStall{20};
constexpr unsigned kStallsInARow = 3;
constexpr std::chrono::microseconds kShortestPause{100};
constexpr milliseconds kLongestPause{10};

// A slot of the ring: the frame and what the driver notes in front of it.
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
            // If the replies have a short way, they are seen before the ring can be filled.
            m_triedFirst = true;
            m_next += kFirstReplies;
        }
    }
    // A tick is a millisecond, so the way may be one longer.
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
            // The longer nothing has come, the less often it pays to look.
            return std::clamp<Clock::duration>(waited / 4, kShortestPause, kLongestPause);
        }
        m_writtenOff = sent;
        m_limited = m_blocked = false;
        m_roundTrip.store(kUnknown, std::memory_order_relaxed);
        return {};
    }
    if (now < m_next) {
        return std::clamp<Clock::duration>(m_next - now, kShortestPause, std::chrono::milliseconds(1));
    }
    // A sender that was away itself makes up for it, but not with more than is free.
    m_next = std::max(m_next, now - m_interval * static_cast<Clock::rep>(m_free)) + m_interval;
    return {};
}

} // namespace vnxtest
