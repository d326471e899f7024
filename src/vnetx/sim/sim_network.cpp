#include "vnetx/sim/sim_network.h"

#include <algorithm>

#include "packets/ipv4_packet.h"
#include "vnetx/sim/sim_lan.h"

namespace vnxtest {

namespace {

constexpr std::uint8_t kGateway = SimStationNumber(kSimGatewayIp);
constexpr std::uint8_t kPinger = SimStationNumber(kSimFirstEchoHost);
constexpr std::uint16_t kPingerIdentifier = 0x5350;
constexpr std::uint8_t kHopsBehindGateway = 7;
constexpr std::uint8_t kTimeToLive = 64;
// A station asks again when it has something to send and its last question is this old.
constexpr auto kArpRetry = std::chrono::seconds(1);
constexpr std::size_t kMaximumHeldBytes = std::size_t{16} * 1024 * 1024;

Ipv4Address StationIp(std::uint8_t station) {
    return kSimNetwork | Ipv4Address(0, 0, 0, station);
}

// The number of the station that has this MAC, or 0.
std::uint8_t StationOfMac(MacAddress mac) {
    const std::uint8_t number = mac.Bytes()[5];
    return SimStationMac(number) == mac && SimIsStation(StationIp(number)) ? number : std::uint8_t{0};
}

bool CanBeAnswered(Ipv4Address source) {
    const std::uint8_t first = source.Bytes()[0];
    return first != 0 && first != 127 && first < 224 && !SimIsStation(source) && source != kSimBroadcast;
}

// Makes `frame` the one of `echo` from `station`, but for its destination, and returns the packet in it.
std::span<std::uint8_t> BuildEchoFrame(std::vector<std::uint8_t>& frame, std::uint8_t station,
                                       const SimEcho& echo, const SimEchoHeader& header) {
    frame.resize(EthernetView::kLength + SimEchoLength(echo));
    EthernetView::Over(frame)->Emit({MacAddress(), SimStationMac(station), kEtherTypeIpv4});
    const auto packet = std::span(frame).subspan(EthernetView::kLength);
    BuildSimEcho(echo, header, packet);
    return packet;
}

} // namespace

std::shared_ptr<SimPort> SimNetwork::AddPort() {
    const std::unique_lock lock(m_mutex);
    m_ports.push_back(std::make_shared<SimPort>(static_cast<std::uint32_t>(m_ports.size())));
    return m_ports.back();
}

void SimNetwork::PlugIn(const std::shared_ptr<SimPort>& port) {
    port->m_wire.Clear(); // what the other guest sent while this one was out
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
        StationsHearArp(from, payload, destination);
    } else if (etherType == kEtherTypeIpv4 && station != 0) {
        StationGetsPacket(from, station, payload);
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

// What the gateway does with a packet for the other guest: one hop less to live, and on it goes.
bool SimNetwork::RouteToGuest(SimPort& from, std::span<const std::uint8_t> packet) const {
    const auto ip = ConstIpv4View::Over(packet);
    if (!ip || ip->Version() != 4 || ip->HeaderLength() * 4 != ConstIpv4View::kLength ||
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
        std::ranges::copy(ip->Bytes(), passedOn.Bytes().begin());
        passedOn.SetTimeToLive(static_cast<std::uint8_t>(ip->TimeToLive() - 1));
        passedOn.Seal();
        guest->m_wire.Put(head, packet.subspan(Ipv4View::kLength), Clock::now(), SimFrameTag::Other);
    }
    return true;
}

void SimNetwork::StationsHearArp(SimPort& from, std::span<const std::uint8_t> payload,
                                 MacAddress destination) {
    const auto arp = ConstArpView::OverEthernetIpv4(payload);
    if (!arp) {
        ++from.m_counters.badPackets;
        return;
    }
    const Ipv4Address stationIp = arp->TargetProtocolAddress(), senderIp = arp->SenderProtocolAddress();
    const MacAddress senderMac = arp->SenderHardwareAddress();
    const std::uint8_t station = SimStationNumber(stationIp);
    const MacAddress stationMac = SimStationMac(station);
    if (!SimIsStation(stationIp) || (!destination.IsGroup() && destination != stationMac)) {
        return;
    }
    if (arp->Operation() == ArpOperation::Request) {
        ++from.m_counters.arpRequests;
        // A probe (RFC 5227) has no sender address to be learnt.
        if (!senderIp.IsZero()) {
            Learn(from, station, senderIp, senderMac);
        }
        const auto reply =
            MakeArpFrame(senderMac, {ArpOperation::Reply, stationMac, stationIp, senderMac, senderIp});
        PutOnWire(from, reply, Clock::now(), SimFrameTag::Other, false);
    } else if (arp->Operation() == ArpOperation::Reply) {
        ++from.m_counters.arpReplies;
        Learn(from, station, senderIp, senderMac);
    }
}

void SimNetwork::StationGetsPacket(SimPort& from, std::uint8_t station,
                                   std::span<const std::uint8_t> packet) {
    SimEcho echo;
    switch (ParseSimEcho(packet, echo)) {
    case SimEchoCheck::Bad:
        ++from.m_counters.badPackets;
        return;
    case SimEchoCheck::NotEcho:
        ++from.m_counters.otherPackets;
        return;
    case SimEchoCheck::Good:
        break;
    }
    const bool forStation = echo.destination == StationIp(station);
    if (echo.type == kIcmpEchoReply) {
        if (forStation && station == kPinger) {
            CheckPingAnswer(from, echo);
        } else {
            ++from.m_counters.otherPackets;
        }
    } else if (!SimAnswersPing(echo.destination)) {
        ++from.m_counters.silentRequests;
    } else if (!CanBeAnswered(echo.source) || (!forStation && station != kGateway)) {
        ++from.m_counters.undeliverable; // only the gateway passes on what is not for itself
    } else {
        AnswerEcho(from, SimOnLan(echo.destination) ? SimStationNumber(echo.destination) : kGateway, echo);
    }
}

void SimNetwork::AnswerEcho(SimPort& from, std::uint8_t station, const SimEcho& echo) {
    SimCounters& counters = from.m_counters;
    const std::size_t length = SimEchoLength(echo);
    if (from.m_wire.IsFull() || from.m_heldBytes + 2 * length > kMaximumHeldBytes) {
        ++counters.overflowed;
        return;
    }
    const std::uint64_t number = ++counters.echoRequests;
    const SimFate fate = DecideSimFate(m_options, from.m_order, number);
    counters.lost += fate.lost;
    counters.duplicated += fate.duplicated;
    counters.late += fate.late;
    counters.dontFragment += fate.dontFragment;
    counters.reordered += fate.reordered;
    counters.corrupted += fate.corrupted;
    counters.truncated += fate.truncated;
    counters.foreign += fate.foreign;
    counters.answered += fate.IsGood();
    counters.extraReplies += fate.IsGood() && fate.duplicated;
    if (fate.lost) {
        return;
    }

    SimEcho reply = echo;
    reply.type = kIcmpEchoReply;
    reply.source = echo.destination;
    reply.destination = echo.source;
    if (fate.foreign) {
        reply.identifier = static_cast<std::uint16_t>(echo.identifier ^ (1 + fate.random % 0xFFFF));
    }
    SimEchoHeader header;
    header.timeToLive = SimOnLan(echo.destination) ? kTimeToLive : kTimeToLive - kHopsBehindGateway;
    header.identification = static_cast<std::uint16_t>(number);
    header.dontFragment = fate.dontFragment;

    std::vector<std::uint8_t>& frame = from.m_scratch;
    const auto packet = BuildEchoFrame(frame, station, reply, header);
    frame.resize(EthernetView::kLength + DamageSimPacket(packet, fate));

    const auto now = Clock::now();
    Send(from, station, echo.source, frame, now + fate.delay,
         fate.IsGood() ? SimFrameTag::FirstGoodReply : SimFrameTag::SpoiltReply, fate.reordered);
    if (fate.duplicated) {
        Send(from, station, echo.source, frame, now + fate.duplicateDelay,
             fate.IsGood() ? SimFrameTag::ExtraGoodReply : SimFrameTag::SpoiltReply, fate.reordered);
    }
}

void SimNetwork::Tick(SimPort& port) {
    const auto interval = std::chrono::microseconds(static_cast<std::int64_t>(m_options.pinger * 1000));
    const std::lock_guard lock(port.m_mutex);
    port.m_wire.Put({}, {}, Clock::now() + interval, SimFrameTag::Tick);
    const bool waiting = std::any_of(port.m_held.begin(), port.m_held.end(),
                                     [](const auto& held) { return held.tag == SimFrameTag::Ping; });
    if (port.Ip().IsZero() || waiting) {
        return;
    }
    static constexpr std::array<std::uint8_t, 32> kData{'s', 'i', 'm', 'u', 'l', 'a', 't', 'e', 'd'};
    SimEcho ping;
    ping.source = kSimFirstEchoHost;
    ping.destination = port.Ip();
    ping.type = kIcmpEchoRequest;
    ping.identifier = kPingerIdentifier;
    ping.sequence = ++port.m_pingSequence;
    ping.data = kData;
    std::vector<std::uint8_t>& frame = port.m_scratch;
    BuildEchoFrame(frame, kPinger, ping, {});
    Send(port, kPinger, port.Ip(), frame, Clock::now(), SimFrameTag::Ping, false);
}

void SimNetwork::CheckPingAnswer(SimPort& from, const SimEcho& echo) {
    if (echo.identifier == kPingerIdentifier && echo.source == from.Ip() &&
        echo.sequence != from.m_pingAnswered &&
        static_cast<std::uint16_t>(from.m_pingSequence - echo.sequence) < 0x8000) {
        from.m_pingAnswered = echo.sequence;
        ++from.m_counters.pingsAnswered;
    } else {
        ++from.m_counters.otherPackets;
    }
}

// `frame` lacks its destination MAC, which the station must know or find out first.
void SimNetwork::Send(SimPort& to, std::uint8_t station, Ipv4Address ip, std::vector<std::uint8_t>& frame,
                      Clock::time_point due, SimFrameTag tag, bool reordered) {
    SimPort::Neighbour& neighbour = to.m_neighbours[station];
    if (neighbour.ip != ip) {
        neighbour = {};
        neighbour.ip = ip;
    }
    if (neighbour.state == SimPort::Neighbour::State::Known) {
        EthernetView::Over(frame)->SetDestination(neighbour.mac);
        PutOnWire(to, frame, due, tag, reordered);
        return;
    }
    to.m_held.push_back({station, ip, frame, due, tag, reordered});
    to.m_heldBytes += frame.size();
    to.m_counters.repliesHeld += tag != SimFrameTag::Ping;
    const auto now = Clock::now();
    if (neighbour.state == SimPort::Neighbour::State::Unknown || now - neighbour.asked >= kArpRetry) {
        neighbour.state = SimPort::Neighbour::State::Asked;
        neighbour.asked = now;
        const MacAddress mac = SimStationMac(station);
        PutOnWire(to,
                  MakeArpFrame(MacAddress::Broadcast(),
                               {ArpOperation::Request, mac, StationIp(station), MacAddress(), ip}),
                  now, SimFrameTag::Other, false);
    }
}

void SimNetwork::PutOnWire(SimPort& to, std::span<const std::uint8_t> frame, Clock::time_point due,
                           SimFrameTag tag, bool reordered) {
    const MacAddress destination = ConstEthernetView::Over(frame)->Destination();
    if (destination != to.Mac() && !destination.IsGroup()) {
        ++to.m_counters.undeliverable; // the guest named a MAC that is not its own
        return;
    }
    to.m_counters.pingsSent += tag == SimFrameTag::Ping;
    to.m_counters.repliesSent += tag == SimFrameTag::FirstGoodReply || tag == SimFrameTag::ExtraGoodReply ||
                                 tag == SimFrameTag::SpoiltReply;
    to.m_wire.Put(frame, {}, due, tag, reordered);
}

void SimNetwork::Learn(SimPort& port, std::uint8_t station, Ipv4Address ip, MacAddress mac) {
    SimPort::Neighbour& neighbour = port.m_neighbours[station];
    neighbour.state = SimPort::Neighbour::State::Known;
    neighbour.ip = ip;
    neighbour.mac = mac;
    if (port.m_held.empty()) {
        return;
    }
    std::erase_if(port.m_held, [&](SimPort::HeldFrame& held) {
        if (held.station != station || held.ip != ip) {
            return false;
        }
        port.m_heldBytes -= held.frame.size();
        port.m_counters.repliesHeld -= held.tag != SimFrameTag::Ping;
        EthernetView::Over(held.frame)->SetDestination(mac);
        PutOnWire(port, held.frame, held.due, held.tag, held.reordered);
        return true;
    });
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
        return StationIp(station);
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
