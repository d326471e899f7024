// IPv4 packets that wait until a neighbour's MAC is known, and what has become of the questions for it.
//
// They are few, whoever sends them: of the answers that the program writes, and so of what a stranger can
// bring about, fewer still. When there is no room the oldest of the same kind goes. Any thread.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <mutex>
#include <span>
#include <unordered_map>
#include <vector>

#include "wrenlib/address.h"

namespace vnxtest {

class WaitingPackets {
public:
    using Clock = std::chrono::steady_clock;
    using Packet = std::vector<std::uint8_t>;
    static constexpr std::size_t kMostOwn = 256;
    static constexpr std::size_t kMostAnswers = 64;
    static constexpr std::size_t kMostAnswersForOne = 4;

    // What has come due.
    struct Due {
        std::vector<Ipv4Address> askAgain;
        std::vector<Ipv4Address> silent; // no answer in time: their packets are gone
        std::size_t dropped = 0;         // how many that were
        int next = -1;                   // milliseconds until something is due again; negative: nothing waits
    };

    // A packet waits for `askAfter` until its question is repeated and for `giveUpAfter` in all.
    WaitingPackets(Clock::duration askAfter, Clock::duration giveUpAfter)
        : m_askAfter(askAfter), m_giveUpAfter(giveUpAfter) {}

    // True while nothing waits; without the lock.
    bool IsEmpty() const { return !m_isWaiting.load(); }
    // True while `hop` is being asked for.
    bool Knows(Ipv4Address hop) const;
    // Keeps a copy of `packet` for `hop`, which from now on counts as asked for, and returns how many
    // others had to go for it. An answer is a packet that a reading thread has written.
    std::size_t Keep(Ipv4Address hop, std::span<const std::uint8_t> packet, bool answer,
                     Clock::time_point now);
    // Takes what waits for `hop`, in the order it came.
    std::vector<Packet> Take(Ipv4Address hop);
    Due Work(Clock::time_point now);

private:
    struct Waiting {
        Ipv4Address hop;
        bool answer;
        Packet packet;
    };
    struct Question {
        Clock::time_point since;
        bool repeated = false;
    };

    std::size_t Remove(Ipv4Address hop);
    std::size_t MakeRoom(Ipv4Address hop, bool answer);

    const Clock::duration m_askAfter, m_giveUpAfter;
    mutable std::mutex m_mutex;
    std::deque<Waiting> m_packets;                           // the oldest first
    std::unordered_map<std::uint32_t, Question> m_questions; // by hop
    std::atomic<bool> m_isWaiting{false};
};

} // namespace vnxtest
