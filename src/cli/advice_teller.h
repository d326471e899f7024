// The advice of a run on standard error: each finding once, at once when nothing is answered for a while, and
// the rest at the end. Main thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <string_view>

#include "advice/finding.h"

namespace vnxtest {

class AdviceTeller {
public:
    using Moment = std::chrono::steady_clock::time_point;

    // Tells those of `findings` that have not been told yet, and keeps all of them.
    void Tell(Findings findings);
    // Something else has told it already.
    void NoteTold(std::string_view id, int interfaceNumber);
    // The findings of the last call, as they were then.
    const Findings& Latest() const { return m_latest; }

    // From now on answers are expected.
    void BeginWatch();
    // When to look next for advice because nothing is answered.
    Moment NextLook() const { return m_nextLook; }
    // Called when that moment has passed, with how many were answered so far: true if none was since the
    // last look.
    bool IsQuiet(std::uint64_t answered);

private:
    Findings m_latest;
    Findings m_told;
    Moment m_nextLook{};
    std::uint64_t m_answered = 0;
};

} // namespace vnxtest
