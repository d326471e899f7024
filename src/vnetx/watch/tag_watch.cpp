#include "vnetx/watch/tag_watch.h"

#include "packets/arp_packet.h"
#include "packets/ethernet.h"
#include "packets/ipv4_packet.h"

namespace vnxtest {
namespace {

// Who sent it; nullopt if it is not for the guest.
std::optional<Ipv4Address> SenderToGuest(std::span<const std::uint8_t> frame, Ipv4Address guest) {
    // Behind the tag the frame goes on as one whose last two bytes of the source address are the tag's type.
    const auto inner =
        frame.size() < kVlanTagLength ? std::nullopt : ConstEthernetView::Over(frame.subspan(kVlanTagLength));
    if (!inner) {
        return std::nullopt;
    }
    const auto payload = frame.subspan(kVlanTagLength + ConstEthernetView::kLength);
    if (inner->EtherType() == kEtherTypeIpv4) {
        const auto ip = ConstIpv4View::Over(payload);
        return ip && ip->Protocol() == kIpProtocolIcmp && ip->Destination() == guest
                   ? std::optional(ip->Source())
                   : std::nullopt;
    }
    const auto arp =
        inner->EtherType() == kEtherTypeArp ? ConstArpView::OverEthernetIpv4(payload) : std::nullopt;
    return arp && arp->Operation() == ArpOperation::Request && arp->TargetProtocolAddress() == guest
               ? std::optional(arp->SenderProtocolAddress())
               : std::nullopt;
}

} // namespace

void TagWatch::Hear(std::span<const std::uint8_t> frame, Ipv4Address guest) {
    if (const auto sender = SenderToGuest(frame, guest)) {
        m_from.store(sender->Memory(), std::memory_order_relaxed);
        m_frames.fetch_add(1, std::memory_order_relaxed);
    }
}

void TagWatch::AddTo(WireFacts& facts) const {
    facts.tagged = {m_frames.load(std::memory_order_relaxed),
                    Ipv4Address::FromMemory(m_from.load(std::memory_order_relaxed))};
}

} // namespace vnxtest
