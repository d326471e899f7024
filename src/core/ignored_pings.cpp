#include "core/ignored_pings.h"

#include <algorithm>

namespace vnxtest {

void IgnoredPings::Note(IgnoredPing kind, Ipv4Address sender, std::uint32_t detail) {
    Slot& slot = m_slots[static_cast<std::size_t>(kind)];
    slot.count.fetch_add(1, std::memory_order_relaxed);
    slot.detail.store(detail, std::memory_order_relaxed);
    const std::uint32_t image = sender.Memory();
    const std::uint32_t known = slot.known.load(std::memory_order_relaxed);
    for (std::size_t index = 0; index < std::min<std::size_t>(known, kSenders); ++index) {
        if (slot.senders[index].load(std::memory_order_relaxed) == image) {
            return;
        }
    }
    slot.senders[known % kSenders].store(image, std::memory_order_relaxed);
    // Wraps after 2^32 changes of sender, which shows fewer of them for a moment.
    slot.known.store(known + 1, std::memory_order_release);
}

IgnoredPings::Kind IgnoredPings::Read(IgnoredPing kind) const {
    const Slot& slot = m_slots[static_cast<std::size_t>(kind)];
    Kind result;
    const std::uint32_t known = slot.known.load(std::memory_order_acquire);
    for (std::size_t index = 0; index < std::min<std::size_t>(known, kSenders); ++index) {
        result.senders.push_back(
            Ipv4Address::FromMemory(slot.senders[index].load(std::memory_order_relaxed)));
    }
    result.detail = slot.detail.load(std::memory_order_relaxed);
    result.count = slot.count.load(std::memory_order_relaxed);
    return result;
}

void IgnoredPings::Clear() {
    for (Slot& slot : m_slots) {
        slot.count = 0;
        slot.known = 0;
    }
}

} // namespace vnxtest
