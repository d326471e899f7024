// When a reader spins and when it blocks.
//
// Waking a blocked thread costs more than a whole echo. While frames follow each other closely the reader
// therefore spins for kBudget before it blocks. Once most frames come later than that it blocks at once, so
// that an idle interface, or one with a frame now and then, costs no processor time. A single late frame, of
// a station that was without a processor for a moment, changes nothing. For one thread at a time.
#pragma once

#include <algorithm>
#include <chrono>

namespace vnxtest {

class PollPolicy {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr auto kBudget = std::chrono::microseconds(60);
    // A frame within the budget counts one, a late one takes away two. Spinning begins at kEnough.
    static constexpr int kEnough = 4, kMost = 8, kLate = 2;

    // For so long after another thread took the processor from a spinning reader it does not spin: one that
    // sleeps gets a processor as soon as there is a frame, one that has yielded waits for its turn.
    static constexpr auto kContended = std::chrono::milliseconds(4);

    // How long to spin once there was no frame, `now`.
    Clock::duration Budget(Clock::time_point now) const {
        return m_closeFrames >= kEnough && now >= m_contendedUntil ? Clock::duration(kBudget)
                                                                   : Clock::duration::zero();
    }
    // Another thread had the processor until `now`.
    void ProcessorWasTaken(Clock::time_point now) { m_contendedUntil = now + kContended; }

    // A frame came `waited` after that.
    void FrameAfter(Clock::duration waited) {
        m_closeFrames =
            waited > kBudget ? std::max(m_closeFrames - kLate, 0) : std::min(m_closeFrames + 1, kMost);
    }
    // No frame came at all.
    void NoFrame() { m_closeFrames = 0; }

    // For a reader that waits elsewhere: the read ends, there having been no frame at `since`; and its
    // first frame after that.
    void PauseBegins(Clock::time_point since) {
        m_emptySince = since;
        m_paused = true;
    }
    void FrameAfterPause() {
        if (m_paused) {
            m_paused = false;
            FrameAfter(Clock::now() - m_emptySince);
        }
    }

private:
    int m_closeFrames = 0;
    Clock::time_point m_contendedUntil{};
    bool m_paused = false;
    Clock::time_point m_emptySince{};
};

} // namespace vnxtest
