#include "vnetx/pcap/waiting_packets.h"

#include <algorithm>

namespace vnxtest {

bool WaitingPackets::Knows(Ipv4Address hop) const {
    const std::lock_guard lock(m_mutex);
    return m_questions.contains(hop.Memory());
}

// Makes room for one more packet of this kind: drops the oldest if need be. The number dropped, 0 or 1.
std::size_t WaitingPackets::MakeRoom(Ipv4Address hop, bool answer) {
    std::size_t all = 0;
    std::size_t forHop = 0;
    for (const Waiting& waiting : m_packets) {
        all += waiting.answer == answer;
        forHop += waiting.answer == answer && waiting.hop == hop;
    }
    const bool hopIsFull = answer && forHop >= kMostAnswersForOne;
    if (!hopIsFull && all < (answer ? kMostAnswers : kMostOwn)) {
        return 0;
    }
    const auto oldest = std::find_if(m_packets.begin(), m_packets.end(), [&](const Waiting& waiting) {
        return waiting.answer == answer && (!hopIsFull || waiting.hop == hop);
    });
    m_packets.erase(oldest);
    return 1;
}

std::size_t WaitingPackets::Keep(Ipv4Address hop, std::span<const std::uint8_t> packet, bool answer,
                                 Clock::time_point now) {
    const std::lock_guard lock(m_mutex);
    const std::size_t dropped = MakeRoom(hop, answer);
    m_packets.push_back({hop, answer, Packet(packet.begin(), packet.end())});
    m_questions.try_emplace(hop.Memory(), Question{now});
    m_isWaiting.store(true);
    return dropped;
}

std::vector<WaitingPackets::Packet> WaitingPackets::Take(Ipv4Address hop) {
    std::vector<Packet> taken;
    if (IsEmpty()) {
        return taken;
    }
    const std::lock_guard lock(m_mutex);
    if (m_questions.erase(hop.Memory()) == 0) {
        return taken;
    }
    for (Waiting& waiting : m_packets) {
        if (waiting.hop == hop) {
            taken.push_back(std::move(waiting.packet));
        }
    }
    Remove(hop);
    m_isWaiting.store(!m_questions.empty());
    return taken;
}

std::size_t WaitingPackets::Remove(Ipv4Address hop) {
    return std::erase_if(m_packets, [hop](const Waiting& waiting) { return waiting.hop == hop; });
}

WaitingPackets::Due WaitingPackets::Work(Clock::time_point now) {
    Due due;
    if (IsEmpty()) {
        return due;
    }
    const std::lock_guard lock(m_mutex);
    for (auto entry = m_questions.begin(); entry != m_questions.end();) {
        const Ipv4Address hop = Ipv4Address::FromMemory(entry->first);
        Question& question = entry->second;
        const auto age = now - question.since;
        if (age >= m_giveUpAfter) {
            due.silent.push_back(hop);
            due.dropped += Remove(hop);
            entry = m_questions.erase(entry);
            continue;
        }
        if (!question.repeated && age >= m_askAfter) {
            question.repeated = true;
            due.askAgain.push_back(hop);
        }
        const auto left = (question.repeated ? m_giveUpAfter : m_askAfter) - age;
        const int next =
            std::max(0, static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(left).count()));
        due.next = due.next < 0 ? next : std::min(due.next, next);
        ++entry;
    }
    m_isWaiting.store(!m_questions.empty());
    return due;
}

} // namespace vnxtest
