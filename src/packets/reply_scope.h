// Which addresses a reply may go to: those of one other station.
//
// Whoever forges a request's sender chooses where its reply goes. A reply to a group of stations would
// multiply the frames, and one to an address that no host can have is useless (RFC 1122, section 3.2.1.3;
// RFC 1812, section 5.3.7). The built-in libraries do not put such a reply on the wire, and the guest does
// not count its request as answered; both ask here. Requests of the guest are not judged: they may well be
// for a group.
#pragma once

#include <cstdint>
#include <span>

#include "packets/arp_packet.h"
#include "packets/ethernet.h"
#include "packets/host_address.h"
#include "packets/icmp_echo.h"
#include "packets/ipv4_packet.h"

namespace vnxtest {

// The guest's side of the link.
struct ReplyScope {
    MacAddress guestMac;
    Ipv4Address guestIp;
    Ipv4Address subnet;    // any address of the subnet
    Ipv4Address mask;      // zero: no subnet is known
    Ipv4Address broadcast; // of the subnet, where it was set; zero: it follows from the mask
};

// A single station's address, and not the guest's.
constexpr bool IsAnotherStation(MacAddress mac, MacAddress guest) {
    return !mac.IsZero() && !mac.IsGroup() && mac != guest;
}

// An address that another host can have: not "this network" or loopback, no group, no broadcast, not the
// subnet's own number, not the guest's.
constexpr bool IsAnotherHost(Ipv4Address address, const ReplyScope& scope) {
    if (!IsUnicast(address) || address == scope.guestIp ||
        (!scope.broadcast.IsZero() && address == scope.broadcast)) {
        return false;
    }
    const bool within = !scope.mask.IsZero() && (address & scope.mask) == (scope.subnet & scope.mask);
    return !within || (!IsSubnetBroadcast(address, scope.mask) && !IsSubnetNumber(address, scope.mask));
}

// An address that an ARP request may come from and its reply go to. Zero is the sender of an ARP probe (RFC
// 5227, section 2.1.1), the guest's own that of a station in conflict with it.
constexpr bool IsArpHost(Ipv4Address address, const ReplyScope& scope) {
    return address.IsZero() || address == scope.guestIp || IsAnotherHost(address, scope);
}

// True for an ICMP echo reply. `packet` is bare IPv4, of any bytes.
inline bool IsEchoReply(std::span<const std::uint8_t> packet) {
    const auto ip = ConstIpv4View::Over(packet);
    if (!ip || ip->Version() != 4 || ip->Protocol() != kIpProtocolIcmp || ip->IsLaterFragment()) {
        return false;
    }
    const std::size_t header = std::size_t{ip->HeaderLength()} * 4;
    return header >= ConstIpv4View::kLength && packet.size() > header && packet[header] == kIcmpEchoReply;
}

// True if `frame` is an echo reply, an ARP reply or a RARP reply to no station or to more than one.
// `ethernet`: it begins with an Ethernet header; otherwise it is bare IPv4. Any bytes, any thread.
inline bool IsReplyToNobody(std::span<const std::uint8_t> frame, bool ethernet, const ReplyScope& scope) {
    std::span<const std::uint8_t> packet = frame;
    bool toAnother = true;
    if (ethernet) {
        const auto header = ConstEthernetView::Over(frame);
        if (!header) {
            return false;
        }
        packet = frame.subspan(ConstEthernetView::kLength);
        toAnother = IsAnotherStation(header->Destination(), scope.guestMac);
        if (header->EtherType() == kEtherTypeArp || header->EtherType() == kEtherTypeRarp) {
            const auto arp = ConstArpView::Over(packet);
            return arp && ((arp->Operation() == ArpOperation::Reply &&
                            !(toAnother && IsArpHost(arp->TargetProtocolAddress(), scope))) ||
                           (arp->Operation() == ArpOperation::ReverseReply && !toAnother));
        }
        if (header->EtherType() != kEtherTypeIpv4) {
            return false;
        }
    }
    return IsEchoReply(packet) &&
           !(toAnother && IsAnotherHost(ConstIpv4View::Over(packet)->Destination(), scope));
}

} // namespace vnxtest
