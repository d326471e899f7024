#include "vnetx/watch/neighbours.h"

#include <algorithm>
#include <cstdlib>

#include "vnetx/frame_arrival.h"

namespace vnxtest {
namespace {

// What the calling thread has found last. A reading thread answers one station after the other, and mostly
// the same one: it looks that up now and then, not for each frame, and without the lock. The time is that of
// the kernel's stamps, so that no clock is read; a thread without stamps has no such memory.
constexpr std::int64_t kFoundLifetime = 100'000'000; // nanoseconds
struct Found {
    std::uint64_t table = 0;
    std::uint64_t changes = 0; // of the table until then
    Ipv4Address address;
    MacAddress mac;
    std::int64_t stamp = 0; // of the frame; 0: nothing yet
};
thread_local Found t_found;

std::uint64_t NextTable() {
    static std::atomic<std::uint64_t> last{0};
    return ++last;
}

} // namespace

NeighbourTable::NeighbourTable(std::function<Clock::time_point()> now)
    : m_now(std::move(now)), m_number(NextTable()) {}

void NeighbourTable::Put(Ipv4Address address, const Entry& entry) {
    m_changes.fetch_add(1);
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
        m_changes.fetch_add(1);
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
    const std::int64_t stamp = frame_arrival::OfLastFrame();
    const std::uint64_t changes = m_changes.load();
    if (stamp != 0 && t_found.stamp != 0 && t_found.address == address && t_found.table == m_number &&
        t_found.changes == changes && std::abs(stamp - t_found.stamp) < kFoundLifetime) {
        return {State::Known, t_found.mac, false};
    }
    const Answer answer = LookUp(address);
    if (answer.state == State::Known) {
        t_found = {m_number, changes, address, answer.mac, stamp};
    }
    return answer;
}

NeighbourTable::Answer NeighbourTable::LookUp(Ipv4Address address) {
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
