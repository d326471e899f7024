#include "core/heard_conflict.h"

#include <cstring>

#include "packets/arp_packet.h"

namespace vnxtest {

void HeardConflict::Clear() {
    m_begin = Clock::now();
    m_by = 0;
    m_first = 0;
    m_times = 0;
}

void HeardConflict::Hear(const InterfaceAddresses& guest, std::span<const std::uint8_t> frame) {
    if (frame.size() < kArpFrameLength) {
        return;
    }
    const auto arp = ConstArpView::OverEthernetIpv4(frame.subspan(ConstEthernetView::kLength));
    if (!arp || arp->SenderProtocolAddress() != guest.guestIp) {
        return;
    }
    const MacAddress sender = arp->SenderHardwareAddress();
    const bool known = guest.adapterKnown.load(std::memory_order_acquire);
    if (sender == guest.guestMac || sender.IsZero() || sender.IsGroup() ||
        (known && sender == guest.adapterMac)) {
        return; // the guest itself, nobody, or the host
    }
    const std::uint64_t times = m_times.load(std::memory_order_relaxed);
    if (times == 0) {
        using std::chrono::duration_cast;
        m_first = duration_cast<std::chrono::milliseconds>(Clock::now() - m_begin).count();
    }
    std::uint64_t image = 0;
    std::memcpy(&image, sender.Bytes().data(), sender.Bytes().size());
    m_by.store(image, std::memory_order_relaxed);
    m_times.store(times + 1, std::memory_order_release);
}

std::optional<AddressInUse> HeardConflict::Read() const {
    AddressInUse found;
    found.times = m_times.load(std::memory_order_acquire);
    if (found.times == 0) {
        return std::nullopt;
    }
    const std::uint64_t image = m_by.load(std::memory_order_relaxed);
    std::array<std::uint8_t, 6> mac{};
    std::memcpy(mac.data(), &image, mac.size());
    found.by = MacAddress(mac);
    found.first = std::chrono::milliseconds(m_first.load(std::memory_order_relaxed));
    return found;
}

} // namespace vnxtest
