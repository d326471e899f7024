#include "vnetx/sim/sim_stations.h"

#include <algorithm>
#include <array>

#include "packets/arp_packet.h"
#include "packets/host_address.h"
#include "packets/ipv4_packet.h"
#include "vnetx/sim/sim_fate.h"
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

bool CanBeAnswered(Ipv4Address source) {
    return IsUnicast(source) && !IsReserved(source) && !SimIsStation(source) && source != kSimBroadcast;
}

// Builds the frame of `echo` from `station`, without its destination MAC, and returns the packet in it.
std::span<std::uint8_t> BuildEchoFrame(std::vector<std::uint8_t>& frame, std::uint8_t station,
                                       const SimEcho& echo, const SimEchoHeader& header) {
    frame.resize(EthernetView::kLength + SimEchoLength(echo));
    EthernetView::Over(frame)->Emit({MacAddress(), SimStationMac(station), kEtherTypeIpv4});
    const auto packet = std::span(frame).subspan(EthernetView::kLength);
    BuildSimEcho(echo, header, packet);
    return packet;
}

// Counts the decision on the reply to a request.
void CountFate(SimCounters& counters, const SimFate& fate) {
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
}

SimEcho ReplyTo(const SimEcho& request, const SimFate& fate) {
    SimEcho reply = request;
    reply.type = kIcmpEchoReply;
    reply.source = request.destination;
    reply.destination = request.source;
    if (fate.foreign) {
        reply.identifier = static_cast<std::uint16_t>(request.identifier ^ (1 + fate.random % 0xFFFF));
    }
    return reply;
}

SimEchoHeader HeaderOf(const SimEcho& request, const SimFate& fate, std::uint64_t number) {
    SimEchoHeader header;
    header.timeToLive = SimOnLan(request.destination) ? kTimeToLive : kTimeToLive - kHopsBehindGateway;
    header.identification = static_cast<std::uint16_t>(number);
    header.dontFragment = fate.dontFragment;
    return header;
}

} // namespace

void SimStations::HearArp(SimPort& from, std::span<const std::uint8_t> payload, MacAddress destination) {
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
        PutOnWire(from, reply, {Clock::now()});
    } else if (arp->Operation() == ArpOperation::Reply) {
        ++from.m_counters.arpReplies;
        Learn(from, station, senderIp, senderMac);
    }
}

void SimStations::TakePacket(SimPort& from, std::uint8_t station, std::span<const std::uint8_t> packet) {
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
    const bool forStation = echo.destination == SimStationIp(station);
    if (echo.type == kIcmpEchoReply) {
        if (forStation && station == kPinger) {
            CheckPingAnswer(from, echo);
        } else {
            ++from.m_counters.otherPackets;
        }
    } else if (!SimAnswersPing(echo.destination)) {
        ++from.m_counters.silentRequests;
    } else if (!CanBeAnswered(echo.source) || (!forStation && station != kGateway)) {
        ++from.m_counters.undeliverable; // only the gateway forwards
    } else {
        AnswerEcho(from, SimOnLan(echo.destination) ? SimStationNumber(echo.destination) : kGateway, echo);
    }
}

void SimStations::AnswerEcho(SimPort& from, std::uint8_t station, const SimEcho& echo) {
    SimCounters& counters = from.m_counters;
    const std::size_t length = SimEchoLength(echo);
    if (from.m_wire.IsFull() || from.m_heldBytes + 2 * length > kMaximumHeldBytes) {
        ++counters.overflowed;
        return;
    }
    const std::uint64_t number = ++counters.echoRequests;
    const SimFate fate = DecideSimFate(m_options, from.m_order, number);
    CountFate(counters, fate);
    if (fate.lost) {
        return;
    }

    std::vector<std::uint8_t>& frame = from.m_scratch;
    const auto packet = BuildEchoFrame(frame, station, ReplyTo(echo, fate), HeaderOf(echo, fate, number));
    frame.resize(EthernetView::kLength + DamageSimPacket(packet, fate));

    const auto now = Clock::now();
    Send(from, station, echo.source, frame,
         {now + fate.delay, fate.IsGood() ? SimFrameTag::FirstGoodReply : SimFrameTag::SpoiltReply,
          fate.reordered});
    if (fate.duplicated) {
        Send(from, station, echo.source, frame,
             {now + fate.duplicateDelay,
              fate.IsGood() ? SimFrameTag::ExtraGoodReply : SimFrameTag::SpoiltReply, fate.reordered});
    }
}

void SimStations::Ping(SimPort& port) {
    const auto interval = std::chrono::microseconds(static_cast<std::int64_t>(m_options.pinger * 1000));
    port.m_wire.Put({}, {}, Clock::now() + interval, SimFrameTag::Tick);
    const bool waiting = std::any_of(port.m_held.begin(), port.m_held.end(),
                                     [](const auto& held) { return held.how.tag == SimFrameTag::Ping; });
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
    Send(port, kPinger, port.Ip(), frame, {Clock::now(), SimFrameTag::Ping});
}

void SimStations::CheckPingAnswer(SimPort& from, const SimEcho& echo) {
    if (echo.identifier == kPingerIdentifier && echo.source == from.Ip() &&
        echo.sequence != from.m_pingAnswered &&
        static_cast<std::uint16_t>(from.m_pingSequence - echo.sequence) < 0x8000) {
        from.m_pingAnswered = echo.sequence;
        ++from.m_counters.pingsAnswered;
    } else {
        ++from.m_counters.otherPackets;
    }
}

// Fills in the destination MAC of `frame` and sends it, or holds it until ARP has told the MAC.
void SimStations::Send(SimPort& to, std::uint8_t station, Ipv4Address ip, std::span<std::uint8_t> frame,
                       const SimDelivery& how) {
    SimPort::Neighbour& neighbour = to.m_neighbours[station];
    if (neighbour.ip != ip) {
        neighbour = {};
        neighbour.ip = ip;
    }
    if (neighbour.state == SimPort::Neighbour::State::Known) {
        EthernetView::Over(frame)->SetDestination(neighbour.mac);
        PutOnWire(to, frame, how);
        return;
    }
    to.m_held.push_back({station, ip, {frame.begin(), frame.end()}, how});
    to.m_heldBytes += frame.size();
    to.m_counters.repliesHeld += how.tag != SimFrameTag::Ping;
    const auto now = Clock::now();
    if (neighbour.state == SimPort::Neighbour::State::Unknown || now - neighbour.asked >= kArpRetry) {
        neighbour.state = SimPort::Neighbour::State::Asked;
        neighbour.asked = now;
        const MacAddress mac = SimStationMac(station);
        PutOnWire(to,
                  MakeArpFrame(MacAddress::Broadcast(),
                               {ArpOperation::Request, mac, SimStationIp(station), MacAddress(), ip}),
                  {now});
    }
}

void SimStations::PutOnWire(SimPort& to, std::span<const std::uint8_t> frame, const SimDelivery& how) {
    const MacAddress destination = ConstEthernetView::Over(frame)->Destination();
    if (destination != to.Mac() && !destination.IsGroup()) {
        ++to.m_counters.undeliverable; // the guest named a MAC that is not its own
        return;
    }
    to.m_counters.pingsSent += how.tag == SimFrameTag::Ping;
    to.m_counters.repliesSent += how.tag == SimFrameTag::FirstGoodReply ||
                                 how.tag == SimFrameTag::ExtraGoodReply ||
                                 how.tag == SimFrameTag::SpoiltReply;
    to.m_wire.Put(frame, {}, how.due, how.tag, how.reordered);
}

void SimStations::Learn(SimPort& port, std::uint8_t station, Ipv4Address ip, MacAddress mac) {
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
        port.m_counters.repliesHeld -= held.how.tag != SimFrameTag::Ping;
        EthernetView::Over(held.frame)->SetDestination(mac);
        PutOnWire(port, held.frame, held.how);
        return true;
    });
}

} // namespace vnxtest
