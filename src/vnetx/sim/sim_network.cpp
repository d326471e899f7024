#include "vnetx/sim/sim_network.h"

#include <algorithm>

#include "packets/ipv4_packet.h"
#include "vnetx/sim/sim_lan.h"

namespace vnxtest {

namespace {

constexpr std::uint8_t kGateway = SimStationNumber(kSimGatewayIp);

// The number of the station that has this MAC, or 0.
std::uint8_t StationOfMac(MacAddress mac) {
    const std::uint8_t number = mac.Bytes()[5];
    return SimStationMac(number) == mac && SimIsStation(SimStationIp(number)) ? number : std::uint8_t{0};
}

} // namespace

std::shared_ptr<SimPort> SimNetwork::AddPort() {
    const std::unique_lock lock(m_mutex);
    m_ports.push_back(std::make_shared<SimPort>(static_cast<std::uint32_t>(m_ports.size())));
    return m_ports.back();
}

void SimNetwork::PlugIn(const std::shared_ptr<SimPort>& port) {
    port->m_wire.Clear(); // frames of the other guest while this one was unplugged
    {
        const std::unique_lock lock(m_mutex);
        m_pluggedIn.push_back(port);
    }
    if (m_options.pinger > 0) {
        port->m_wire.Put({}, {}, Clock::now(), SimFrameTag::Tick);
    }
}

void SimNetwork::PullOut(SimPort& port) {
    {
        const std::unique_lock lock(m_mutex);
        std::erase_if(m_pluggedIn, [&](const auto& other) { return other.get() == &port; });
    }
    const std::lock_guard lock(port.m_mutex);
    port.m_wire.Clear();
    port.m_neighbours.assign(port.m_neighbours.size(), {});
    port.m_held.clear();
    port.m_heldBytes = 0;
    port.m_counters.repliesHeld = 0;
}

void SimNetwork::Retire(SimPort& port) {
    PullOut(port);
    const std::lock_guard lock(port.m_mutex);
    std::vector<SimPort::Neighbour>().swap(port.m_neighbours);
    std::vector<std::uint8_t>().swap(port.m_scratch);
}

void SimNetwork::Transmit(SimPort& from, std::span<const std::uint8_t> frame) {
    const auto header = ConstEthernetView::Over(frame);
    if (!header) {
        return;
    }
    const MacAddress destination = header->Destination();
    const std::uint16_t etherType = header->EtherType();
    const auto payload = frame.subspan(EthernetView::kLength);
    const std::uint8_t station = StationOfMac(destination);
    if (destination.IsGroup()) {
        Flood(from, frame);
    } else if (station == 0) {
        const auto guest = FindGuest(destination, &from);
        if (guest && !guest->m_wire.IsFull()) {
            guest->m_wire.Put(frame, {}, Clock::now(), SimFrameTag::Other);
            return;
        }
    } else if (station == kGateway && etherType == kEtherTypeIpv4 && RouteToGuest(from, payload)) {
        return;
    }

    const std::lock_guard lock(from.m_mutex);
    if (station == 0 && !destination.IsGroup()) {
        ++from.m_counters.undeliverable;
    } else if (etherType == kEtherTypeArp) {
        m_stations.HearArp(from, payload, destination);
    } else if (etherType == kEtherTypeIpv4 && station != 0) {
        m_stations.TakePacket(from, station, payload);
    } else {
        ++from.m_counters.otherPackets;
    }
}

void SimNetwork::Flood(const SimPort& from, std::span<const std::uint8_t> frame) const {
    const std::shared_lock lock(m_mutex);
    for (const auto& guest : m_pluggedIn) {
        if (guest.get() != &from && !guest->m_wire.IsFull()) {
            guest->m_wire.Put(frame, {}, Clock::now(), SimFrameTag::Other);
        }
    }
}

// The gateway forwards a packet for the other guest, its time to live less one. False if it is not for one.
bool SimNetwork::RouteToGuest(SimPort& from, std::span<const std::uint8_t> packet) const {
    const auto ip = ConstIpv4View::Over(packet);
    if (!ip || ip->Version() != 4 || ip->HeaderLength() != ConstIpv4View::kLength / 4 ||
        !ip->HasRightChecksum()) {
        return false;
    }
    const auto guest = FindGuest(ip->Destination(), &from);
    if (!guest) {
        return false;
    }
    if (ip->TimeToLive() > 1 && !guest->m_wire.IsFull()) {
        std::array<std::uint8_t, EthernetView::kLength + Ipv4View::kLength> head;
        EthernetView(std::span(head).first<EthernetView::kLength>())
            .Emit({guest->Mac(), kSimGatewayMac, kEtherTypeIpv4});
        Ipv4View passedOn{std::span(head).last<Ipv4View::kLength>()};
        std::copy_n(packet.data(), Ipv4View::kLength, passedOn.Bytes().data());
        passedOn.SetTimeToLive(static_cast<std::uint8_t>(ip->TimeToLive() - 1));
        passedOn.Seal();
        guest->m_wire.Put(head, packet.subspan(Ipv4View::kLength), Clock::now(), SimFrameTag::Other);
    }
    return true;
}

void SimNetwork::Tick(SimPort& port) {
    const std::lock_guard lock(port.m_mutex);
    m_stations.Ping(port);
}

void SimNetwork::NoteRead(SimPort& port, SimFrameTag tag) {
    if (tag == SimFrameTag::Other || tag == SimFrameTag::Ping) {
        return;
    }
    const std::lock_guard lock(port.m_mutex);
    ++port.m_counters.repliesRead;
    port.m_counters.answeredRead += tag == SimFrameTag::FirstGoodReply;
    port.m_counters.extraRepliesRead += tag == SimFrameTag::ExtraGoodReply;
}

MacAddress SimNetwork::FindMac(Ipv4Address address, const SimPort* asking) const {
    if (SimIsStation(address)) {
        return SimStationMac(SimStationNumber(address));
    }
    const auto guest = FindGuest(address, asking);
    return guest ? guest->Mac() : MacAddress();
}

Ipv4Address SimNetwork::FindIp(MacAddress mac, const SimPort* asking) const {
    if (const std::uint8_t station = StationOfMac(mac); station != 0) {
        return SimStationIp(station);
    }
    const auto guest = FindGuest(mac, asking);
    return guest ? guest->Ip() : Ipv4Address();
}

std::shared_ptr<SimPort> SimNetwork::FindGuest(MacAddress mac, const SimPort* except) const {
    const std::shared_lock lock(m_mutex);
    for (const auto& guest : m_pluggedIn) {
        if (guest.get() != except && guest->Mac() == mac) {
            return guest;
        }
    }
    return nullptr;
}

std::shared_ptr<SimPort> SimNetwork::FindGuest(Ipv4Address ip, const SimPort* except) const {
    const std::shared_lock lock(m_mutex);
    for (const auto& guest : m_pluggedIn) {
        if (guest.get() != except && guest->Ip() == ip && !ip.IsZero()) {
            return guest;
        }
    }
    return nullptr;
}

std::size_t SimNetwork::PortCount() const {
    const std::shared_lock lock(m_mutex);
    return m_ports.size();
}

SimCounters SimNetwork::Counters(std::size_t order) const {
    std::shared_ptr<SimPort> port;
    {
        const std::shared_lock lock(m_mutex);
        if (order < m_ports.size()) {
            port = m_ports[order];
        }
    }
    if (!port) {
        return {};
    }
    const std::lock_guard lock(port->m_mutex);
    return port->m_counters;
}

SimCounters SimNetwork::Counters() const {
    SimCounters sum;
    const std::size_t count = PortCount();
    for (std::size_t order = 0; order < count; ++order) {
        sum += Counters(order);
    }
    return sum;
}

} // namespace vnxtest
