#include "ping/ignored_kind.h"

#include <algorithm>

#include "packets/arp_packet.h"
#include "packets/checksum.h"
#include "packets/ethernet.h"
#include "packets/icmp_echo.h"
#include "packets/ipv4_packet.h"

namespace vnxtest {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint16_t kEtherTypeServiceVlan = 0x88A8; // IEEE 802.1ad
constexpr std::size_t kWordLength = 4;
constexpr std::uint8_t kDontFragment = 0x40; // in the byte of the flags

struct Ping {
    ConstIpv4View ip;
    bool request = false;
};

// An echo message for `guestIp`. Of a later fragment, which begins in the middle of a message, ICMP is all
// that can be known.
std::optional<Ping> PingFor(Ipv4Address guestIp, Bytes packet) {
    const auto ip = ConstIpv4View::Over(packet);
    if (!ip || ip->Version() != 4 || ip->Protocol() != kIpProtocolIcmp || ip->Destination() != guestIp) {
        return std::nullopt;
    }
    if (ip->IsLaterFragment() && ip->IsFragment()) {
        return Ping{*ip, true};
    }
    const std::size_t header = ip->HeaderLength() * kWordLength;
    const auto icmp = header < ConstIpv4View::kLength || header > packet.size()
                          ? std::nullopt
                          : ConstIcmpEchoView::Over(packet.subspan(header));
    if (!icmp || icmp->Code() != 0 || (icmp->Type() != kIcmpEchoRequest && icmp->Type() != kIcmpEchoReply)) {
        return std::nullopt;
    }
    return Ping{*ip, icmp->Type() == kIcmpEchoRequest};
}

// Without the bit it may have been ignored for its checksums. Behind the message a frame may be padded.
IgnoredPing KindOfDontFragment(const Ping& ping, Bytes packet) {
    const std::size_t length = std::min<std::size_t>(packet.size(), ping.ip.TotalLength());
    if (!ping.ip.HasRightChecksum() || length < ConstIpv4View::kLength) {
        return IgnoredPing::BadIpChecksum;
    }
    if (InetChecksum(packet.first(length).subspan(ConstIpv4View::kLength)) != 0) {
        return IgnoredPing::BadIcmpChecksum;
    }
    return ping.request ? IgnoredPing::RequestDontFragment : IgnoredPing::ReplyDontFragment;
}

std::optional<IgnoredPing> KindOf(IgnoreReason reason, const Ping& ping, Bytes packet) {
    switch (reason) {
    case IgnoreReason::TooTiny:
        return ping.request && packet.size() == ConstIpv4View::kLength + ConstIcmpEchoView::kLength
                   ? std::optional(IgnoredPing::RequestWithoutData)
                   : std::nullopt;
    case IgnoreReason::Fragmented:
        if (ping.ip.IsFragment()) {
            return IgnoredPing::Fragment;
        }
        if (ping.ip.Bytes()[6] != kDontFragment) {
            return std::nullopt; // the bit that is reserved
        }
        if (ping.ip.HeaderLength() != ConstIpv4View::kLength / kWordLength) {
            break;
        }
        return KindOfDontFragment(ping, packet);
    case IgnoreReason::BadIpHeaderLength:
        break;
    case IgnoreReason::BadIpChecksum:
        return IgnoredPing::BadIpChecksum;
    case IgnoreReason::BadIcmpChecksum:
        return IgnoredPing::BadIcmpChecksum;
    default:
        return std::nullopt;
    }
    return ping.request ? std::optional(IgnoredPing::RequestWithOptions) : std::nullopt;
}

// What an ICMP error quotes is a ping of the guest: its IP header and the eight bytes behind it (RFC 792).
bool QuotesPingOf(Ipv4Address guestIp, Bytes quoted) {
    const auto ip = ConstIpv4View::Over(quoted);
    const std::size_t header = ip ? ip->HeaderLength() * kWordLength : 0;
    const auto icmp = header < ConstIpv4View::kLength || header > quoted.size()
                          ? std::nullopt
                          : ConstIcmpEchoView::Over(quoted.subspan(header));
    return icmp && ip->Source() == guestIp && ip->Protocol() == kIpProtocolIcmp &&
           icmp->Type() == kIcmpEchoRequest;
}

// An ICMP error: a destination that cannot be reached.
std::optional<IgnoredKind> JudgeError(Bytes packet, Ipv4Address guestIp) {
    constexpr std::uint8_t kUnreachable = 3, kFragmentationNeeded = 4;
    const auto ip = ConstIpv4View::Over(packet);
    const auto icmp = ip ? ConstIcmpEchoView::Over(packet.subspan(ConstIpv4View::kLength)) : std::nullopt;
    constexpr std::size_t kHeaders = ConstIpv4View::kLength + ConstIcmpEchoView::kLength;
    if (!icmp || ip->Destination() != guestIp || icmp->Type() != kUnreachable ||
        !QuotesPingOf(guestIp, packet.subspan(kHeaders))) {
        return std::nullopt;
    }
    if (icmp->Code() == kFragmentationNeeded) { // the MTU stands where an echo has its sequence number
        return IgnoredKind{IgnoredPing::ErrorTooLarge, ip->Source(), icmp->SequenceNumber()};
    }
    return IgnoredKind{IgnoredPing::ErrorUnreachable, ip->Source(), icmp->Code()};
}

std::optional<IgnoredKind> JudgeTagged(Bytes frame, Ipv4Address guestIp) {
    const auto outer = ConstEthernetView::Over(frame);
    if (!outer || (outer->EtherType() != kEtherTypeVlan && outer->EtherType() != kEtherTypeServiceVlan)) {
        return std::nullopt;
    }
    // Behind the tag the frame goes on as one whose last two bytes of the source address are the tag's type.
    const auto inner = ConstEthernetView::Over(frame.subspan(kVlanTagLength));
    if (!inner) {
        return std::nullopt;
    }
    const Bytes payload = frame.subspan(kVlanTagLength + ConstEthernetView::kLength);
    if (inner->EtherType() == kEtherTypeIpv4) {
        const auto ping = PingFor(guestIp, payload);
        return ping ? std::optional(IgnoredKind{IgnoredPing::VlanTagged, ping->ip.Source()}) : std::nullopt;
    }
    const auto arp = ConstArpView::Over(payload);
    if (inner->EtherType() != kEtherTypeArp || !arp || arp->Operation() != ArpOperation::Request ||
        arp->TargetProtocolAddress() != guestIp) {
        return std::nullopt;
    }
    return IgnoredKind{IgnoredPing::VlanTagged, arp->SenderProtocolAddress()};
}

} // namespace

std::optional<IgnoredKind> JudgeIgnored(IgnoreReason reason, Bytes bytes, Ipv4Address guestIp) {
    if (reason == IgnoreReason::UnknownPacket) {
        return JudgeTagged(bytes, guestIp);
    }
    if (reason == IgnoreReason::NotPing) {
        return JudgeError(bytes, guestIp);
    }
    const auto ping = PingFor(guestIp, bytes);
    const auto kind = ping ? KindOf(reason, *ping, bytes) : std::nullopt;
    return kind ? std::optional(IgnoredKind{*kind, ping->ip.Source()}) : std::nullopt;
}

} // namespace vnxtest
