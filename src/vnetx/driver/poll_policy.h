// When a reader polls and when it blocks.
//
// Waking a blocked thread costs more than a whole echo. While frames follow each other closely the
// reader therefore keeps looking for the length of kBudget before it blocks; as soon as polling
// would not have caught the last frame it blocks at once, so that an idle interface, or one with a
// frame now and then, costs no processor time.
#pragma once

#include <chrono>

namespace vnxtest {

class PollPolicy {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr auto kBudget = std::chrono::microseconds(60);
    // So many frames in a row must have come within the budget before polling begins.
    static constexpr int kEnough = 4;

    // How long to poll from the moment nothing was found.
    Clock::duration Budget() const { return m_closeFrames >= kEnough ? kBudget : Clock::duration::zero(); }

    // A frame came `waited` after nothing was found.
    void FrameAfter(Clock::duration waited) {
        if (waited > kBudget) {
            m_closeFrames = 0;
        } else if (m_closeFrames < kEnough) {
            ++m_closeFrames;
        }
    }
    // No frame came at all.
    void NoFrame() { m_closeFrames = 0; }

    // For a reader that waits elsewhere: nothing was found at `since` and the read ends; and: the
    // first frame after such a pause was found.
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
    bool m_paused = false;
    Clock::time_point m_emptySince{};
};

} // namespace vnxtest
