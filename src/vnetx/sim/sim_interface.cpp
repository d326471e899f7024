#include "vnetx/sim/sim_interface.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fmt/format.h>

#include "packets/ipv4_packet.h"
#include "vnetx/failure.h"
#include "wrenlib/address.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

// The largest frame a program can read: its buffer has 65,535 bytes.
constexpr std::uint32_t kLargestRead = 65535;

bool IsGroupAddress(Ipv4Address address) {
    return address.Bytes()[0] >= 224 || address == kSimBroadcast; // 255.255.255.255 among them
}

} // namespace

SimInterface::SimInterface(std::shared_ptr<SimNetwork> network, std::shared_ptr<SimPort> port,
                           std::unique_ptr<ReaderGate> gate, bool socketNotify,
                           const std::atomic<VnetxDebugOutput>& debugSink)
    : VirtualInterface(std::move(gate), socketNotify, debugSink), m_network(std::move(network)),
      m_port(std::move(port)), m_limit(m_network->Options().mtu) {}

SimInterface::~SimInterface() {
    Gate().StopWatching();
    m_network->Retire(*m_port);
}

int SimInterface::Attach(InterfaceMode, std::string& name) {
    name = "sim" + std::to_string(m_port->Order());
    return 0;
}

int SimInterface::BringUp() {
    if (GuestMac().IsZero()) {
        return EADDRNOTAVAIL;
    }
    if (SimIsStation(GuestIp())) {
        Debug().Tell(fmt::format("** Interface {}: a station of the simulated LAN has the guest's address {} "
                                 "already and gets what is meant for it. Choose one from {} to {}.",
                                 Name(), ToNarrow(FormatIPAddr(GuestIp())),
                                 ToNarrow(FormatIPAddr(kSimFirstFreeIp)),
                                 ToNarrow(FormatIPAddr(kSimLastFreeIp))));
    }
    m_batchSize = m_next = 0;
    SetAdapterSubnet(kSimAdapterIp, kSimNetMask);
    RefreshIdentity();
    m_network->PlugIn(m_port);
    return 0;
}

void SimInterface::TakeDown() {
    m_network->PullOut(*m_port);
}

std::uint32_t SimInterface::MaximumMtu() const {
    return Mode() == InterfaceMode::Tap
               ? std::min(m_limit, kLargestRead - std::uint32_t{EthernetView::kLength})
               : m_limit;
}

MacAddress SimInterface::FindNeighbour(Ipv4Address address) {
    return m_network->FindMac(address, m_port.get());
}

Ipv4Address SimInterface::FindNeighbourByMac(MacAddress mac) {
    return m_network->FindIp(mac, m_port.get());
}

int SimInterface::DoTimedWork() {
    RefreshIdentity();
    return -1;
}

std::int32_t SimInterface::TakeFrame(std::uint8_t* buffer, std::uint32_t size) {
    while (true) {
        if (m_next == m_batchSize) {
            const auto now = SimWire::Clock::now();
            if (!m_port->Wire().HasDue(now)) {
                return 0;
            }
            const auto taken = m_port->Wire().Collect(now, IoBufferSize(), m_batch);
            m_batchSize = taken.frames;
            m_next = 0;
            if (m_batchSize == 0) {
                return 0;
            }
            if (taken.bytes > 0) {
                Counters().NoteTransfer(static_cast<std::uint32_t>(taken.bytes));
            }
        }
        const SimFrame& frame = m_batch[m_next++];
        if (frame.tag == SimFrameTag::Tick) {
            m_network->Tick(*m_port);
            continue;
        }
        const auto bytes = Accept(frame);
        if (bytes.empty()) {
            continue;
        }
        if (bytes.size() > size) {
            Counters().ignored.Add();
            if (size >= kFullReadSize) {
                continue; // as long as a reader can ask for
            }
            return Fail(EMSGSIZE);
        }
        std::memcpy(buffer, bytes.data(), bytes.size());
        m_network->NoteRead(*m_port, frame.tag);
        return static_cast<std::int32_t>(bytes.size());
    }
}

// Counts a frame and returns what the program is to get of it, which may be nothing.
std::span<const std::uint8_t> SimInterface::Accept(const SimFrame& frame) {
    const std::span<const std::uint8_t> bytes(frame.bytes);
    auto& reading = Counters().reading;
    reading.packets.Add();
    reading.bytes.Add(static_cast<std::int64_t>(bytes.size()));
    const auto header = ConstEthernetView::Over(bytes);
    if (!header) {
        Counters().ignored.Add();
        return {};
    }
    reading.fromZeroMac.Add(header->Source().IsZero());
    reading.toZeroMac.Add(header->Destination().IsZero());
    Debug().PacketRead(Name(), bytes, true);
    if (Mode() == InterfaceMode::Tap) {
        return bytes;
    }
    if (header->EtherType() == kEtherTypeArp && HandleArpInside(bytes)) {
        reading.internalArps.Add();
        return {};
    }
    if (header->EtherType() != kEtherTypeIpv4) {
        Counters().ignored.Add();
        return {};
    }
    return bytes.subspan(EthernetView::kLength);
}

// TUN: the guest's address is asked for, and the library answers for it (RFC 826). False when there is no
// single station to answer, or its address is one that no host can have.
bool SimInterface::HandleArpInside(std::span<const std::uint8_t> frame) {
    const auto arp = ConstArpView::OverEthernetIpv4(frame.subspan(EthernetView::kLength));
    if (!arp) {
        return true;
    }
    const MacAddress senderMac = arp->SenderHardwareAddress();
    const Ipv4Address senderIp = arp->SenderProtocolAddress();
    if (!IsAnotherStation(senderMac, GuestMac()) || !IsArpHost(senderIp, Scope())) {
        return false;
    }
    if (arp->Operation() == ArpOperation::Request && arp->TargetProtocolAddress() == GuestIp()) {
        SendFrame(MakeArpFrame(senderMac, {ArpOperation::Reply, GuestMac(), GuestIp(), senderMac, senderIp}));
    }
    return true;
}

std::int32_t SimInterface::WriteFrame(const std::uint8_t* frame, std::uint32_t length) {
    RefreshIdentity();
    const std::uint32_t mtu = Mtu() != 0 ? Mtu() : MaximumMtu();
    if (Mode() == InterfaceMode::Tun) {
        return length > mtu ? Fail(EMSGSIZE) : WritePacket(frame, length);
    }
    if (length < EthernetView::kLength) {
        return Fail(EINVAL);
    }
    if (length - EthernetView::kLength > mtu) {
        return Fail(EMSGSIZE);
    }
    SendFrame({frame, length});
    return static_cast<std::int32_t>(length);
}

// TUN: finds the next hop and puts the Ethernet header in front.
std::int32_t SimInterface::WritePacket(const std::uint8_t* packet, std::uint32_t length) {
    const auto ip = ConstIpv4View::Over({packet, length});
    if (!ip || ip->Version() != 4) {
        return Fail(EINVAL);
    }
    const Ipv4Address destination = ip->Destination();
    MacAddress mac = MacAddress::Broadcast();
    if (!IsGroupAddress(destination)) {
        Ipv4Address hop = destination;
        mac = FindNeighbour(hop);
        if (mac.IsZero() && !SimOnLan(hop)) {
            hop = kSimGatewayIp;
            mac = kSimGatewayMac;
        }
        if (!m_asked[SimStationNumber(hop)].exchange(true)) {
            ShowArpExchange(hop);
        }
        if (mac.IsZero()) {
            Counters().ignored.Add(); // nobody has the address
            return static_cast<std::int32_t>(length);
        }
    }
    std::vector<std::uint8_t> frame(EthernetView::kLength + length);
    EthernetView::Over(frame)->Emit({mac, GuestMac(), kEtherTypeIpv4});
    std::memcpy(frame.data() + EthernetView::kLength, packet, length);
    SendFrame(frame);
    return static_cast<std::int32_t>(length);
}

// TUN: the library's own question for a neighbour. The answer comes over the wire like any other.
void SimInterface::ShowArpExchange(Ipv4Address neighbour) {
    SendFrame(MakeArpFrame(MacAddress::Broadcast(),
                           {ArpOperation::Request, GuestMac(), GuestIp(), MacAddress(), neighbour}));
}

void SimInterface::SendFrame(std::span<const std::uint8_t> frame) {
    const auto ethernet = ConstEthernetView::Over(frame);
    auto& writing = Counters().writing;
    writing.ios.Add();
    writing.packets.Add();
    writing.bytes.Add(static_cast<std::int64_t>(frame.size()));
    writing.toZeroMac.Add(ethernet->Destination().IsZero());
    writing.fromZeroMac.Add(ethernet->Source().IsZero());
    Debug().PacketWritten(Name(), frame, true);
    m_network->Transmit(*m_port, frame);
}

} // namespace vnxtest
