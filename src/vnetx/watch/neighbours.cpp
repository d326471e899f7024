#include "vnetx/watch/neighbours.h"

#include <algorithm>

namespace vnxtest {

void NeighbourTable::Put(Ipv4Address address, const Entry& entry) {
    if (m_entries.size() >= kCapacity && !m_entries.contains(address.Memory())) {
        std::erase_if(m_entries, [&](const auto& old) { return !IsGood(old.second, entry.heard); });
    }
    if (m_entries.size() >= kCapacity && !m_entries.contains(address.Memory())) {
        m_entries.erase(
            std::min_element(m_entries.begin(), m_entries.end(),
                             [](const auto& a, const auto& b) { return a.second.heard < b.second.heard; }));
    }
    m_entries.insert_or_assign(address.Memory(), entry);
}

void NeighbourTable::Learn(Ipv4Address address, MacAddress mac) {
    if (address.IsZero() || mac.IsZero() || mac.IsGroup()) {
        return;
    }
    const auto now = m_now();
    const std::lock_guard lock(m_mutex);
    Put(address, {mac, now, now});
    NoteAnswer(address);
}

void NeighbourTable::Update(Ipv4Address address, MacAddress mac) {
    if (address.IsZero() || mac.IsZero() || mac.IsGroup()) {
        return;
    }
    const auto now = m_now();
    const std::lock_guard lock(m_mutex);
    if (const auto found = m_entries.find(address.Memory()); found != m_entries.end()) {
        found->second = {mac, now, now};
        NoteAnswer(address);
    }
}

void NeighbourTable::NoteAnswer(Ipv4Address address) {
    if (const auto silence = m_silences.find(address.Memory()); silence != m_silences.end()) {
        silence->second = {0, true};
    }
}

void NeighbourTable::NoteUnanswered(Ipv4Address address) {
    NoteSilence(address);
    const std::lock_guard lock(m_mutex);
    const auto entry = m_entries.find(address.Memory());
    const bool answered = entry != m_entries.end() && !entry->second.mac.IsZero();
    if (answered || (m_silences.size() >= kMostSilent && !m_silences.contains(address.Memory()))) {
        return; // the answer came late, or this is a scan
    }
    ++m_silences[address.Memory()].questions;
}

std::vector<SilentStation> NeighbourTable::Silent() {
    std::vector<SilentStation> silent;
    const std::lock_guard lock(m_mutex);
    for (const auto& [image, silence] : m_silences) {
        if (silence.questions != 0) {
            silent.push_back({Ipv4Address::FromMemory(image), silence.questions, silence.answered});
        }
    }
    return silent;
}

void NeighbourTable::NoteSilence(Ipv4Address address) {
    const auto now = m_now();
    const std::lock_guard lock(m_mutex);
    const auto found = m_entries.find(address.Memory());
    if (found == m_entries.end() || found->second.mac.IsZero() || !IsGood(found->second, now)) {
        Put(address, {MacAddress(), now, now});
    }
}

NeighbourTable::Answer NeighbourTable::Find(Ipv4Address address) {
    const auto now = m_now();
    const std::lock_guard lock(m_mutex);
    const auto found = m_entries.find(address.Memory());
    if (found == m_entries.end() || !IsGood(found->second, now)) {
        return {};
    }
    Entry& entry = found->second;
    if (entry.mac.IsZero()) {
        return {State::Silent, {}, false};
    }
    const bool refresh = now - entry.heard >= kRefreshAge && now - entry.asked >= kRefreshInterval;
    if (refresh) {
        entry.asked = now;
    }
    return {State::Known, entry.mac, refresh};
}

Ipv4Address NeighbourTable::FindByMac(MacAddress mac) {
    const auto now = m_now();
    const std::lock_guard lock(m_mutex);
    for (const auto& [image, entry] : m_entries) {
        if (entry.mac == mac && !mac.IsZero() && IsGood(entry, now)) {
            return Ipv4Address::FromMemory(image);
        }
    }
    return {};
}

} // namespace vnxtest
