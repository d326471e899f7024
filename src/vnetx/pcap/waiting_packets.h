// IPv4 packets queued until a neighbour's MAC is known, and the state of the questions for it.
//
// The queue is bounded, and more tightly for answers, whose number a stranger can drive up. Without room
// the oldest of the same kind is dropped. Any thread; one lock.
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
        std::vector<Ipv4Address> silent; // no answer in time: their packets are dropped
        std::size_t dropped = 0;         // how many packets
        int next = -1; // milliseconds until something is due again; negative: the queue is empty
    };

    // The question is repeated after `askAfter` and given up after `giveUpAfter`, with its packets.
    WaitingPackets(Clock::duration askAfter, Clock::duration giveUpAfter)
        : m_askAfter(askAfter), m_giveUpAfter(giveUpAfter) {}

    // True while no question is open. Takes no lock.
    bool IsEmpty() const { return !m_isWaiting.load(); }
    // True while `hop` is being asked for.
    bool Knows(Ipv4Address hop) const;
    // Queues a copy of `packet` for `hop`, which from now on counts as asked for. Returns how many others
    // were dropped for it. `answer`: a reading thread has written it.
    std::size_t Keep(Ipv4Address hop, std::span<const std::uint8_t> packet, bool answer,
                     Clock::time_point now);
    // Takes the packets for `hop`, in order.
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
