#include "vnetx/pcap/ipv4_over_ethernet.h"

#include <algorithm>
#include <array>

#include "packets/host_address.h"
#include "packets/ipv4_packet.h"
#include "vnetx/driver/reading_thread.h"
#include "vnetx/host/host_links.h"

namespace vnxtest {
namespace {

constexpr Ipv4Address kHostMask = Ipv4Address::Mask(32);
constexpr std::size_t kMaximumPacket = 65535;

} // namespace

// The route within the subnet of `own`; nullopt if the destination is outside.
std::optional<Ipv4OverEthernet::Route> Ipv4OverEthernet::Direct(Ipv4Address own, Ipv4Address mask,
                                                                Ipv4Address destination) {
    if (mask.IsZero() || mask == kHostMask || (destination & mask) != (own & mask)) {
        return std::nullopt;
    }
    return Route{destination, IsSubnetBroadcast(destination, mask), {}};
}

Ipv4OverEthernet::Route Ipv4OverEthernet::RouteTo(const Guest& guest, Ipv4Address destination) {
    if (const auto route = Direct(guest.ip, guest.mask, destination)) {
        return *route;
    }
    const auto now = Clock::now();
    {
        const std::lock_guard lock(m_routeMutex);
        const auto found = m_routes.find(destination.Memory());
        if (found != m_routes.end() && now - found->second.found < kRouteLifetime) {
            return found->second;
        }
    }
    Route route = AskHost(guest, destination);
    route.found = now;
    const std::lock_guard lock(m_routeMutex);
    if (m_routes.size() >= kMostRoutes) {
        m_routes.clear();
    }
    m_routes.insert_or_assign(destination.Memory(), route);
    return route;
}

Ipv4OverEthernet::Route Ipv4OverEthernet::AskHost(const Guest& guest, Ipv4Address destination) {
    if (guest.mask.IsZero() || guest.mask == kHostMask) {
        if (const auto link = m_around.hostLinks.FindByIndex(m_around.linkIndex)) {
            for (const HostLinkAddress& own : link->addresses) {
                if (const auto route = Direct(own.address, own.mask, destination)) {
                    return *route;
                }
            }
        }
    }
    return {GatewayTowards(m_around.linkIndex, destination).value_or(destination), false, {}};
}

std::int32_t Ipv4OverEthernet::SendTo(MacAddress mac, const Guest& guest,
                                      std::span<const std::uint8_t> packet) {
    std::array<std::uint8_t, EthernetView::kLength + kMaximumPacket> frame; // only what is used is written
    EthernetView(std::span(frame).first<EthernetView::kLength>()).Emit({mac, guest.mac, kEtherTypeIpv4});
    std::copy_n(packet.data(), packet.size(), frame.data() + EthernetView::kLength);
    const std::int32_t sent = m_functions.send(std::span(frame).first(EthernetView::kLength + packet.size()));
    return sent < 0 ? sent : static_cast<std::int32_t>(packet.size());
}

std::int32_t Ipv4OverEthernet::Write(const Guest& guest, std::span<const std::uint8_t> packet) {
    using State = NeighbourTable::State;
    const Ipv4Address destination = ConstIpv4View::Over(packet)->Destination();
    if (destination == kLimitedBroadcast || (!guest.broadcast.IsZero() && destination == guest.broadcast)) {
        return SendTo(MacAddress::Broadcast(), guest, packet);
    }
    if (IsGroup(destination)) {
        return SendTo(MulticastMac(destination), guest, packet);
    }
    const Route route = RouteTo(guest, destination);
    if (route.broadcast) {
        return SendTo(MacAddress::Broadcast(), guest, packet);
    }
    const auto neighbour = m_around.table.Find(route.hop);
    if (neighbour.refresh) {
        Ask(guest, route.hop);
    }
    if (neighbour.state == State::Known) {
        return SendTo(neighbour.mac, guest, packet);
    }
    // Only without a router between: the source MAC of a routed packet is the router's.
    if (const auto mac = reading_thread::SenderOf(m_around.reader, destination);
        mac && route.hop == destination) {
        return SendTo(*mac, guest, packet);
    }
    if (neighbour.state == State::Silent) {
        Drop(1);
    } else {
        Keep(guest, route.hop, packet);
    }
    return static_cast<std::int32_t>(packet.size());
}

bool Ipv4OverEthernet::Ask(const Guest& guest, Ipv4Address hop) {
    return m_around.resolver.Ask({guest.mac, guest.ip}, hop);
}

void Ipv4OverEthernet::Drop(std::size_t count) {
    for (; count > 0; --count) {
        m_functions.drop();
    }
}

void Ipv4OverEthernet::Keep(const Guest& guest, Ipv4Address hop, std::span<const std::uint8_t> packet) {
    TimedWork(guest); // in case no thread is reading
    const bool known = m_waiting.Knows(hop);
    if (!known && !Ask(guest, hop)) {
        Drop(1);
        return;
    }
    Drop(m_waiting.Keep(hop, packet, reading_thread::IsOne(), Clock::now()));
    if (!known) {
        m_functions.wakeReader();
    }
    // The answer may have come since the first look-up, before the packet was queued.
    if (const auto neighbour = m_around.table.Find(hop); neighbour.state == NeighbourTable::State::Known) {
        SendWaiting(guest, hop, neighbour.mac);
    }
}

void Ipv4OverEthernet::SendWaiting(const Guest& guest, Ipv4Address hop, MacAddress mac) {
    for (const auto& packet : m_waiting.Take(hop)) {
        if (SendTo(mac, guest, packet) < 0) {
            Drop(1); // its writer was told that it was sent
        }
    }
}

bool Ipv4OverEthernet::HandleArp(const Guest& guest, const ReplyScope& scope, const ConstArpView& arp) {
    const MacAddress senderMac = arp.SenderHardwareAddress();
    const Ipv4Address senderIp = arp.SenderProtocolAddress();
    if (!IsAnotherStation(senderMac, guest.mac) || !IsArpHost(senderIp, scope)) {
        return false;
    }
    const bool forGuest = arp.TargetProtocolAddress() == guest.ip && !guest.ip.IsZero();
    if (senderIp != guest.ip) {
        if (forGuest) {
            m_around.table.Learn(senderIp, senderMac);
        } else {
            m_around.table.Update(senderIp, senderMac);
        }
        if (!m_waiting.IsEmpty()) {
            if (const auto neighbour = m_around.table.Find(senderIp);
                neighbour.state == NeighbourTable::State::Known) {
                SendWaiting(guest, senderIp, neighbour.mac);
            }
        }
    }
    if (forGuest && arp.Operation() == ArpOperation::Request) {
        m_functions.send(
            MakeArpFrame(senderMac, {ArpOperation::Reply, guest.mac, guest.ip, senderMac, senderIp}));
    }
    return true;
}

int Ipv4OverEthernet::TimedWork(const Guest& guest) {
    const WaitingPackets::Due due = m_waiting.Work(Clock::now());
    for (const Ipv4Address hop : due.silent) {
        m_around.table.NoteUnanswered(hop);
    }
    Drop(due.dropped);
    for (const Ipv4Address hop : due.askAgain) {
        Ask(guest, hop);
    }
    return due.next;
}

} // namespace vnxtest
