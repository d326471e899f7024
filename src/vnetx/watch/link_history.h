// How often and how long an adapter was without carrier, down or gone while an interface ran on it.
//
// It is told what each look at the adapter has found. Any thread; one lock.
#pragma once

#include <array>
#include <chrono>
#include <mutex>
#include <optional>

#include "vnetx/wire_facts.h"

namespace vnxtest {

class LinkHistory {
public:
    using Clock = std::chrono::steady_clock;
    enum class State { Fine, NoCarrier, Down, Gone };

    // The interface was brought up at `now`. Only the first call counts.
    void Begin(Clock::time_point now);
    // What the adapter is at `now`. No effect before Begin().
    void Note(State state, Clock::time_point now);
    // Fills the three troubles of `facts`, up to `now`.
    void AddTo(WireFacts& facts, Clock::time_point now) const;

private:
    static constexpr std::size_t kTroubles = 3;

    struct Trouble {
        std::uint32_t times = 0;
        Clock::time_point first{};
        Clock::duration ended{}; // the total of those that are over
    };

    mutable std::mutex m_mutex;
    std::optional<Clock::time_point> m_begin;
    State m_state = State::Fine;
    Clock::time_point m_since{}; // of m_state
    std::array<Trouble, kTroubles> m_troubles;
};

} // namespace vnxtest
