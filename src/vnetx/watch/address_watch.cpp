#include "vnetx/watch/address_watch.h"

#include "packets/ipv4_packet.h"

namespace vnxtest {
namespace {

// The sender that a frame names within, besides its Ethernet header.
struct InnerSender {
    std::optional<MacAddress> mac; // ARP and RARP only
    Ipv4Address address;
    Ipv4Address askedFor; // likewise
};

// Nullopt if what the frame carries cannot be told.
std::optional<InnerSender> InnerSenderOf(std::uint16_t etherType, std::span<const std::uint8_t> payload) {
    if (etherType == kEtherTypeIpv4) {
        const auto ip = ConstIpv4View::Over(payload);
        return ip ? std::optional(InnerSender{{}, ip->Source(), {}}) : std::nullopt;
    }
    const auto arp = ConstArpView::OverEthernetIpv4(payload);
    return arp ? std::optional(InnerSender{arp->SenderHardwareAddress(), arp->SenderProtocolAddress(),
                                           arp->TargetProtocolAddress()})
               : std::nullopt;
}

// The guest sends none (RFC 2464), so that such a frame is another's.
constexpr std::uint16_t kEtherTypeIpv6 = 0x86DD;

} // namespace

std::chrono::milliseconds AddressWatch::SinceBegin() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(m_now() - m_begin);
}

std::optional<ArpFrame> AddressWatch::Begin(MacAddress mac, Ipv4Address address) {
    m_mac = mac;
    m_address = address;
    m_probed = m_now();
    if (!m_begun) {
        m_begin = m_probed;
        m_begun = true;
    }
    m_probing = !mac.IsZero() && !address.IsZero();
    if (!m_probing) {
        return std::nullopt;
    }
    return MakeArpFrame(MacAddress::Broadcast(),
                        {ArpOperation::Request, mac, Ipv4Address(), MacAddress(), address});
}

bool AddressWatch::Takes(std::span<const std::uint8_t> frame) {
    if (!m_probing) {
        return false;
    }
    const auto ethernet = ConstEthernetView::Over(frame);
    if (!ethernet || ethernet->EtherType() != kEtherTypeArp) {
        return false;
    }
    if (m_now() - m_probed > kProbeTime) {
        m_probing = false;
        return false;
    }
    return IsFromProbe(frame);
}

// The probe's sender address is zero, and no other packet of the guest's side has that.
bool AddressWatch::IsFromProbe(std::span<const std::uint8_t> frame) {
    const auto arp = ConstArpView::OverEthernetIpv4(frame.subspan(ConstEthernetView::kLength));
    if (!arp) {
        return false;
    }
    const MacAddress sender = arp->SenderHardwareAddress();
    if (arp->Operation() == ArpOperation::Request) {
        return sender == m_mac && arp->SenderProtocolAddress().IsZero() &&
               arp->TargetProtocolAddress() == m_address;
    }
    if (arp->Operation() != ArpOperation::Reply || arp->SenderProtocolAddress() != m_address ||
        arp->TargetHardwareAddress() != m_mac || !arp->TargetProtocolAddress().IsZero() || sender.IsZero() ||
        sender.IsGroup()) {
        return false;
    }
    NoteAddress(sender, true);
    return true;
}

void AddressWatch::HearArp(const ConstArpView& arp) {
    const MacAddress sender = arp.SenderHardwareAddress();
    if (!m_address.IsZero() && arp.SenderProtocolAddress() == m_address && sender != m_mac &&
        sender != m_host && !sender.IsZero() && !sender.IsGroup()) {
        NoteAddress(sender, false);
    }
}

void AddressWatch::HearOwnMac(std::span<const std::uint8_t> frame) {
    if (m_mac == m_host) {
        return; // the host has it, too, as was asked for
    }
    const std::uint16_t type = ConstEthernetView::Over(frame)->EtherType();
    Ipv4Address by;
    if (type != kEtherTypeIpv6) {
        const bool known = type == kEtherTypeIpv4 || type == kEtherTypeArp || type == kEtherTypeRarp;
        const auto sender = known ? InnerSenderOf(type, frame.subspan(ConstEthernetView::kLength))
                                  : std::optional<InnerSender>();
        if (!sender || sender->mac.value_or(m_mac) != m_mac || sender->address == m_address) {
            return;
        }
        if (sender->address.IsZero() && sender->askedFor == m_address) {
            return; // the probe
        }
        by = sender->address;
    }
    const auto now = SinceBegin();
    const std::lock_guard lock(m_mutex);
    if (!m_macInUse) {
        m_macInUse.emplace().first = now;
    }
    m_macInUse->by = by.IsZero() ? m_macInUse->by : by;
    m_macInUse->etherType = type;
    ++m_macInUse->times;
}

void AddressWatch::NoteAddress(MacAddress by, bool probed) {
    const auto now = SinceBegin();
    const std::lock_guard lock(m_mutex);
    if (!m_addressInUse) {
        m_addressInUse.emplace().first = now;
    }
    m_addressInUse->by = by;
    m_addressInUse->probed = m_addressInUse->probed || probed;
    ++m_addressInUse->times;
}

void AddressWatch::AddTo(WireFacts& facts) const {
    const std::lock_guard lock(m_mutex);
    facts.addressInUse = m_addressInUse;
    facts.macInUse = m_macInUse;
}

} // namespace vnxtest
