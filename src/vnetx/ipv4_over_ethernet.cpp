#include "vnetx/ipv4_over_ethernet.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "vnetx/host_links.h"

namespace vnxtest {
namespace {

constexpr Ipv4Address kAllOnes(255, 255, 255, 255);
constexpr std::size_t kMaximumPacket = 65535;

// The group address of an IPv4 multicast packet (RFC 1112, section 6.4).
MacAddress MulticastMac(Ipv4Address group) {
    const auto& bytes = group.Bytes();
    return MacAddress({0x01, 0x00, 0x5E, static_cast<std::uint8_t>(bytes[1] & 0x7F), bytes[2], bytes[3]});
}

int MillisecondsUntil(Ipv4OverEthernet::Clock::duration left) {
    return std::max(0, static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(left).count()));
}

} // namespace

Ipv4OverEthernet::Route Ipv4OverEthernet::FindRoute(const Guest& guest, Ipv4Address destination) const {
    const auto onSubnet = [&](Ipv4Address own, Ipv4Address mask) {
        return !mask.IsZero() && (destination & mask) == (own & mask);
    };
    const auto direct = [&](Ipv4Address mask) {
        // The subnet's highest address is its broadcast address where there is room for one.
        const bool broadcast = (~mask).Host() > 1 && destination == (destination | ~mask);
        return Route{destination, broadcast, {}};
    };
    if (!guest.mask.IsZero() && guest.mask != kAllOnes) {
        if (onSubnet(guest.ip, guest.mask)) {
            return direct(guest.mask);
        }
    } else if (const auto link = FindHostLinkByIndex(m_linkIndex)) {
        for (const HostLinkAddress& own : link->addresses) {
            if (own.mask != kAllOnes && onSubnet(own.address, own.mask)) {
                return direct(own.mask);
            }
        }
    }
    return {GatewayTowards(m_linkIndex, destination).value_or(destination), false, {}};
}

// The route as it was within the last second, so that a change on the host is seen soon.
Ipv4OverEthernet::Route Ipv4OverEthernet::RouteTo(const Guest& guest, Ipv4Address destination) {
    const std::uint64_t key = static_cast<std::uint64_t>(guest.mask.Memory()) << 32 | destination.Memory();
    const auto now = Clock::now();
    {
        const std::lock_guard lock(m_routeMutex);
        const auto found = m_routes.find(key);
        if (found != m_routes.end() && now - found->second.found < kRouteLifetime) {
            return found->second;
        }
    }
    Route route = FindRoute(guest, destination);
    route.found = now;
    const std::lock_guard lock(m_routeMutex);
    if (m_routes.size() >= kMostRoutes) {
        m_routes.clear();
    }
    m_routes.insert_or_assign(key, route);
    return route;
}

std::int32_t Ipv4OverEthernet::SendTo(MacAddress mac, const Guest& guest, const std::uint8_t* packet,
                                      std::uint32_t length) {
    std::array<std::uint8_t, kEthernetHeaderLength + kMaximumPacket> frame; // only what is used is written
    BuildEthernetHeader(frame.data(), {mac, guest.mac, kEtherTypeIpv4});
    std::memcpy(frame.data() + kEthernetHeaderLength, packet, length);
    const std::int32_t sent = m_functions.send({frame.data(), kEthernetHeaderLength + length});
    return sent < 0 ? sent : static_cast<std::int32_t>(length);
}

std::int32_t Ipv4OverEthernet::Write(const Guest& guest, const std::uint8_t* packet, std::uint32_t length) {
    using State = NeighbourTable::State;
    const Ipv4Address destination = LoadIpv4(packet + 16);
    if (destination == kAllOnes || (!guest.broadcast.IsZero() && destination == guest.broadcast)) {
        return SendTo(MacAddress::Broadcast(), guest, packet, length);
    }
    if ((destination.Bytes()[0] & 0xF0) == 0xE0) {
        return SendTo(MulticastMac(destination), guest, packet, length);
    }
    const Route route = RouteTo(guest, destination);
    if (route.broadcast) {
        return SendTo(MacAddress::Broadcast(), guest, packet, length);
    }
    const auto neighbour = m_table.Find(route.hop);
    if (neighbour.refresh) {
        m_resolver.Ask({guest.mac, guest.ip}, route.hop);
    }
    if (neighbour.state == State::Known) {
        return SendTo(neighbour.mac, guest, packet, length);
    }
    if (neighbour.state == State::Silent) {
        m_functions.drop();
    } else {
        Keep(guest, route.hop, packet, length);
    }
    return static_cast<std::int32_t>(length);
}

void Ipv4OverEthernet::Keep(const Guest& guest, Ipv4Address hop, const std::uint8_t* packet,
                            std::uint32_t length) {
    TimedWork(guest); // should nobody be reading
    bool ask = false;
    {
        const std::lock_guard lock(m_waitingMutex);
        if (m_waitingPackets >= kMostWaitingPackets) {
            m_functions.drop();
            return;
        }
        Waiting& waiting = m_waiting[hop.Memory()];
        if (waiting.packets.empty()) {
            waiting.since = Clock::now();
            ask = true;
        }
        waiting.packets.emplace_back(packet, packet + length);
        ++m_waitingPackets;
        m_isWaiting.store(true);
    }
    if (ask) {
        m_resolver.Ask({guest.mac, guest.ip}, hop);
        m_functions.wakeReader();
    }
    // The answer may have come between the first look and now; whoever took it saw no packet yet.
    if (const auto neighbour = m_table.Find(hop); neighbour.state == NeighbourTable::State::Known) {
        SendWaiting(guest, hop, neighbour.mac);
    }
}

void Ipv4OverEthernet::SendWaiting(const Guest& guest, Ipv4Address hop, MacAddress mac) {
    if (!m_isWaiting.load()) {
        return;
    }
    std::vector<std::vector<std::uint8_t>> packets;
    {
        const std::lock_guard lock(m_waitingMutex);
        const auto found = m_waiting.find(hop.Memory());
        if (found == m_waiting.end()) {
            return;
        }
        packets = std::move(found->second.packets);
        m_waitingPackets -= packets.size();
        m_waiting.erase(found);
        m_isWaiting.store(!m_waiting.empty());
    }
    for (const auto& packet : packets) {
        if (SendTo(mac, guest, packet.data(), static_cast<std::uint32_t>(packet.size())) < 0) {
            m_functions.drop(); // its writer was told that it is on its way
        }
    }
}

void Ipv4OverEthernet::HandleArp(const Guest& guest, const ArpPacket& arp) {
    const bool forGuest = arp.targetIp == guest.ip && !guest.ip.IsZero();
    if (arp.senderIp != guest.ip) {
        if (forGuest) {
            m_table.Learn(arp.senderIp, arp.senderMac);
        } else {
            m_table.Update(arp.senderIp, arp.senderMac);
        }
        if (const auto neighbour = m_table.Find(arp.senderIp);
            neighbour.state == NeighbourTable::State::Known) {
            SendWaiting(guest, arp.senderIp, neighbour.mac);
        }
    }
    if (forGuest && arp.operation == kArpRequest) {
        m_functions.send(BuildArpFrame(arp.senderMac, guest.mac,
                                       {kArpReply, guest.mac, guest.ip, arp.senderMac, arp.senderIp}));
    }
}

int Ipv4OverEthernet::TimedWork(const Guest& guest) {
    if (!m_isWaiting.load(std::memory_order_relaxed)) {
        return -1;
    }
    std::vector<Ipv4Address> askAgain;
    int next = -1;
    {
        const auto now = Clock::now();
        const std::lock_guard lock(m_waitingMutex);
        for (auto entry = m_waiting.begin(); entry != m_waiting.end();) {
            const Ipv4Address hop = Ipv4Address::FromMemory(entry->first);
            Waiting& waiting = entry->second;
            const auto age = now - waiting.since;
            if (age >= ArpResolver::kExchangeTime) {
                m_table.NoteSilence(hop);
                m_waitingPackets -= waiting.packets.size();
                std::for_each(waiting.packets.begin(), waiting.packets.end(),
                              [this](auto&) { m_functions.drop(); });
                entry = m_waiting.erase(entry);
                continue;
            }
            if (!waiting.repeated && age >= ArpResolver::kRepeatAfter) {
                waiting.repeated = true;
                askAgain.push_back(hop);
            }
            const int due = MillisecondsUntil(
                (waiting.repeated ? ArpResolver::kExchangeTime : ArpResolver::kRepeatAfter) - age);
            next = next < 0 ? due : std::min(next, due);
            ++entry;
        }
        m_isWaiting.store(!m_waiting.empty());
    }
    for (const Ipv4Address hop : askAgain) {
        m_resolver.Ask({guest.mac, guest.ip}, hop);
    }
    return next;
}

} // namespace vnxtest
