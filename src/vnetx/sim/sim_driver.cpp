#include "vnetx/sim/sim_driver.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fmt/format.h>

#include "packets/host_address.h"
#include "packets/ipv4_packet.h"
#include "vnetx/failure.h"
#include "wrenlib/address.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

// The largest frame a program can read: its buffer has 65,535 bytes.
constexpr std::uint32_t kLargestRead = 65535;

bool IsGroupAddress(Ipv4Address address) {
    return IsGroup(address) || IsReserved(address) || address == kSimBroadcast;
}

} // namespace

SimDriver::SimDriver(std::shared_ptr<SimNetwork> network, std::shared_ptr<SimPort> port,
                     InterfaceState& state)
    : Driver(state), m_network(std::move(network)), m_port(std::move(port)),
      m_limit(m_network->Options().mtu) {}

SimDriver::~SimDriver() {
    m_network->Retire(*m_port);
}

int SimDriver::Attach(InterfaceMode, std::string& name) {
    name = "sim" + std::to_string(m_port->Order());
    return 0;
}

int SimDriver::SetUp(bool up) {
    if (up) {
        return BringUp();
    }
    m_network->PullOut(*m_port);
    return 0;
}

int SimDriver::BringUp() {
    const Ipv4Address guestIp = Settings().guestIp.Get();
    if (Settings().GuestMac().IsZero()) {
        return EADDRNOTAVAIL;
    }
    if (SimIsStation(guestIp)) {
        Debug().Tell(fmt::format(
            "** Interface {}: a station of the simulated LAN has the guest's address {} already and gets what is meant for it. Choose one from {} to {}.",
            Settings().name, ToNarrow(FormatIPAddr(guestIp)), ToNarrow(FormatIPAddr(kSimFirstFreeIp)),
            ToNarrow(FormatIPAddr(kSimLastFreeIp))));
    }
    m_batchSize = m_next = 0;
    Settings().adapterIp.Set(kSimAdapterIp);
    Settings().adapterMask.Set(kSimNetMask);
    RefreshIdentity();
    m_network->PlugIn(m_port);
    return 0;
}

std::uint32_t SimDriver::MaximumMtu() const {
    return Settings().IsTap() ? std::min(m_limit, kLargestRead - std::uint32_t{EthernetView::kLength})
                              : m_limit;
}

MacAddress SimDriver::FindMac(Ipv4Address address) {
    return m_network->FindMac(address, m_port.get());
}

Ipv4Address SimDriver::FindIp(MacAddress mac) {
    return m_network->FindIp(mac, m_port.get());
}

int SimDriver::DoTimedWork() {
    RefreshIdentity();
    return -1;
}

// Takes the frames that are due from the wire; false if there are none.
bool SimDriver::Refill() {
    const auto now = SimWire::Clock::now();
    if (!m_port->Wire().HasDue(now)) {
        return false;
    }
    const std::size_t most = Settings().ioBufferSize.load(std::memory_order_relaxed);
    const auto taken = m_port->Wire().Collect(now, most, m_batch);
    m_batchSize = taken.frames;
    m_next = 0;
    if (taken.bytes > 0) {
        Counters().NoteTransfer(static_cast<std::uint32_t>(taken.bytes));
    }
    return m_batchSize != 0;
}

std::int32_t SimDriver::TakeFrame(std::span<std::uint8_t> buffer) {
    while (m_next != m_batchSize || Refill()) {
        const SimFrame& frame = m_batch[m_next++];
        if (frame.tag == SimFrameTag::Tick) {
            m_network->Tick(*m_port);
            continue;
        }
        const auto bytes = Accept(frame);
        if (bytes.empty()) {
            continue;
        }
        if (bytes.size() > buffer.size()) {
            Counters().ignored.Add();
            if (buffer.size() >= kFullReadSize) {
                continue; // no buffer is larger
            }
            return Fail(EMSGSIZE);
        }
        std::memcpy(buffer.data(), bytes.data(), bytes.size());
        m_network->NoteRead(*m_port, frame.tag);
        return static_cast<std::int32_t>(bytes.size());
    }
    return 0;
}

// Counts a frame and returns the part for the program; empty if it gets none.
std::span<const std::uint8_t> SimDriver::Accept(const SimFrame& frame) {
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
    Debug().PacketRead(Settings().name, bytes, true);
    if (Settings().IsTap()) {
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

// TUN: answers an ARP request for the guest (RFC 826). False if the sender is not a single station, or its
// address is one that no host can have.
bool SimDriver::HandleArpInside(std::span<const std::uint8_t> frame) {
    const auto arp = ConstArpView::OverEthernetIpv4(frame.subspan(EthernetView::kLength));
    if (!arp) {
        return true;
    }
    const MacAddress senderMac = arp->SenderHardwareAddress();
    const Ipv4Address senderIp = arp->SenderProtocolAddress();
    if (!IsAnotherStation(senderMac, Settings().GuestMac()) || !IsArpHost(senderIp, Settings().Scope())) {
        return false;
    }
    if (arp->Operation() == ArpOperation::Request &&
        arp->TargetProtocolAddress() == Settings().guestIp.Get()) {
        SendFrame(MakeArpFrame(senderMac, {ArpOperation::Reply, Settings().GuestMac(),
                                           Settings().guestIp.Get(), senderMac, senderIp}));
    }
    return true;
}

std::int32_t SimDriver::WriteFrame(std::span<const std::uint8_t> frame) {
    RefreshIdentity();
    const std::uint32_t mtu = Settings().Mtu() != 0 ? Settings().Mtu() : MaximumMtu();
    if (!Settings().IsTap()) {
        return frame.size() > mtu ? Fail(EMSGSIZE) : WritePacket(frame);
    }
    if (frame.size() < EthernetView::kLength) {
        return Fail(EINVAL);
    }
    if (frame.size() - EthernetView::kLength > mtu) {
        return Fail(EMSGSIZE);
    }
    SendFrame(frame);
    return static_cast<std::int32_t>(frame.size());
}

// TUN: finds the next hop and puts the Ethernet header in front.
std::int32_t SimDriver::WritePacket(std::span<const std::uint8_t> packet) {
    const auto ip = ConstIpv4View::Over(packet);
    if (!ip || ip->Version() != 4) {
        return Fail(EINVAL);
    }
    const Ipv4Address destination = ip->Destination();
    MacAddress mac = MacAddress::Broadcast();
    if (!IsGroupAddress(destination)) {
        Ipv4Address hop = destination;
        mac = FindMac(hop);
        if (mac.IsZero() && !SimOnLan(hop)) {
            hop = kSimGatewayIp;
            mac = kSimGatewayMac;
        }
        if (!m_asked[SimStationNumber(hop)].exchange(true)) {
            ShowArpExchange(hop);
        }
        if (mac.IsZero()) {
            Counters().ignored.Add(); // no station has the address
            return static_cast<std::int32_t>(packet.size());
        }
    }
    std::vector<std::uint8_t> frame(EthernetView::kLength + packet.size());
    EthernetView::Over(frame)->Emit({mac, Settings().GuestMac(), kEtherTypeIpv4});
    std::copy_n(packet.data(), packet.size(), frame.data() + EthernetView::kLength);
    SendFrame(frame);
    return static_cast<std::int32_t>(packet.size());
}

// TUN: the library's own question for a neighbour. The answer comes over the wire like any other.
void SimDriver::ShowArpExchange(Ipv4Address neighbour) {
    SendFrame(MakeArpFrame(MacAddress::Broadcast(), {ArpOperation::Request, Settings().GuestMac(),
                                                     Settings().guestIp.Get(), MacAddress(), neighbour}));
}

void SimDriver::SendFrame(std::span<const std::uint8_t> frame) {
    const auto ethernet = ConstEthernetView::Over(frame);
    auto& writing = Counters().writing;
    writing.ios.Add();
    writing.packets.Add();
    writing.bytes.Add(static_cast<std::int64_t>(frame.size()));
    writing.toZeroMac.Add(ethernet->Destination().IsZero());
    writing.fromZeroMac.Add(ethernet->Source().IsZero());
    Debug().PacketWritten(Settings().name, frame, true);
    m_network->Transmit(*m_port, frame);
}

} // namespace vnxtest
