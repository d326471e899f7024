#include "vnetx/pcap/pcap_interface.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>

#include "packets/arp_packet.h"
#include "packets/ipv4_packet.h"
#include "packets/reply_scope.h"
#include "vnetx/driver/reading_thread.h"
#include "vnetx/failure.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

constexpr std::uint32_t kEthernetHeader = EthernetView::kLength, kVlanTag = kVlanTagLength;

struct FrameMark {
    std::uint32_t captured;
    std::uint32_t length;
};

constexpr std::size_t RoomFor(std::size_t captured) {
    return (sizeof(FrameMark) + captured + 7) & ~static_cast<std::size_t>(7);
}

// Interfaces are numbered over the process, so that two of them never share a name.
std::string FreshName() {
    static std::atomic<unsigned> next{0};
    return "vnx" + std::to_string(next.fetch_add(1));
}

} // namespace

void FrameBatch::Resize(std::uint32_t bufferSize, std::uint32_t largestFrame) {
    m_buffer.resize(std::max<std::size_t>(bufferSize, RoomFor(largestFrame)));
    m_capacity = static_cast<int>(m_buffer.size() / RoomFor(largestFrame));
    Clear();
}

void FrameBatch::Append(const std::uint8_t* bytes, std::uint32_t captured, std::uint32_t length) {
    if (m_buffer.size() - m_end < RoomFor(captured)) {
        captured = 0; // longer than any frame asked for: it counts, but cannot be kept
    }
    const FrameMark mark{captured, length};
    std::memcpy(m_buffer.data() + m_end, &mark, sizeof mark);
    std::memcpy(m_buffer.data() + m_end + sizeof mark, bytes, captured);
    m_end += RoomFor(captured);
    m_frameBytes += captured;
}

FrameBatch::Frame FrameBatch::TakeFirst() {
    FrameMark mark{};
    std::memcpy(&mark, m_buffer.data() + m_first, sizeof mark);
    const Frame frame{m_buffer.data() + m_first + sizeof mark, mark.captured, mark.length};
    m_first += RoomFor(mark.captured);
    return frame;
}

PcapInterface::PcapInterface(const HostLink& link, std::unique_ptr<ReaderGate> gate, bool socketNotify,
                             const std::atomic<VnetxDebugOutput>& debugSink)
    : VirtualInterface(std::move(gate), socketNotify, debugSink), m_device(link.captureName),
      m_linkIndex(link.index), m_linkMtu(link.mtu), m_watch(link) {}

PcapInterface::~PcapInterface() {
    Gate().StopWatching();
    std::vector<std::unique_ptr<Capture>> captures;
    if (m_resolver) {
        captures = m_resolver->TakeCaptures();
    }
    captures.push_back(std::move(m_capture));
    CloseTogether(std::move(captures));
}

int PcapInterface::Open() {
    const auto sent = [this](std::span<const std::uint8_t> frame) {
        Counters().writing.ios.Add();
        CountWritten(frame);
    };
    m_resolver =
        ArpResolver::Open(m_device, m_neighbours, sent, [this](const std::string& why) { TellRefusal(why); });
    if (!m_resolver) {
        return errno;
    }
    Ipv4OverEthernet::Functions functions;
    functions.send = [this](std::span<const std::uint8_t> frame) {
        return SendFrame(frame.data(), static_cast<std::uint32_t>(frame.size()));
    };
    functions.drop = [this] { Counters().ignored.Add(); };
    functions.wakeReader = [this] { Gate().Wake(); };
    m_ipv4 = std::make_unique<Ipv4OverEthernet>(
        Ipv4OverEthernet::Surroundings{m_neighbours, *m_resolver, m_hostLinks, m_linkIndex, Reader()},
        std::move(functions));
    return 0;
}

int PcapInterface::Attach(InterfaceMode, std::string& name) {
    name = FreshName();
    return 0;
}

int PcapInterface::BringUp() {
    m_mac = GuestMac();
    if (m_mac.IsZero()) {
        return EADDRNOTAVAIL;
    }
    if (const auto link = m_hostLinks.FindByIndex(m_linkIndex); link && !link->addresses.empty()) {
        SetAdapterSubnet(link->addresses.front().address, link->addresses.front().mask);
    }
    if (!m_capture) {
        CaptureOptions options;
        options.device = m_device;
        // Slots of the kernel's ring are as long as a frame can be and no longer: a generous length
        // would leave room for a few frames only.
        options.snapshotLength = LargestPacket() + kEthernetHeader + kVlanTag;
        options.bufferSize = DeviceBufferSize();
        options.guest = m_mac;
        options.guestIp = GuestIp();
        options.tell = [this](const std::string& why) { TellRefusal(why); };
        std::unique_ptr<Capture> capture = Capture::Open(options);
        if (!capture) {
            return errno;
        }
        m_batch.Resize(IoBufferSize(), options.snapshotLength);
        SetIoBufferSize(m_batch.Size());
        m_capture = std::move(capture);
        return 0;
    }
    // Up again: what came meanwhile was for nobody.
    if (!m_capture->Restart(m_mac)) {
        return errno;
    }
    while (Refill() > 0) {
        m_batch.Clear();
    }
    return 0;
}

int PcapInterface::Health() {
    if (const int code = HostLinkHealth(m_linkIndex); code != 0) {
        return code;
    }
    m_watch.Look(Name(), Debug());
    return m_capture ? m_capture->Error() : 0;
}

std::optional<Ipv4Address> PcapInterface::AdapterAddress() {
    const auto link = FindHostLinkByIndex(m_linkIndex);
    return link && !link->addresses.empty() ? std::optional(link->addresses.front().address) : std::nullopt;
}

MacAddress PcapInterface::FindNeighbour(Ipv4Address address) {
    if (address.IsZero()) {
        return {};
    }
    using State = NeighbourTable::State;
    const NeighbourTable::Answer known = m_neighbours.Find(address);
    if (known.state == State::Known) {
        if (known.refresh) {
            m_resolver->Ask(Asker(), address);
        }
        return known.mac;
    }
    if (const auto mac = reading_thread::SenderOf(Reader(), address)) {
        return *mac;
    }
    if (known.state == State::Unknown) {
        if (const auto link = m_hostLinks.Find(address)) {
            return link->mac;
        }
        if (address == GuestIp()) {
            return GuestMac();
        }
    }
    if (GuestMac().IsZero()) {
        return {};
    }
    if (!reading_thread::IsOne()) {
        return m_resolver->Resolve(Asker(), address);
    }
    // The answer is read like any frame; until then, and for a while if there is none, it is not asked again.
    if (known.state == State::Unknown && m_resolver->Ask(Asker(), address)) {
        m_neighbours.NoteSilence(address);
    }
    return {};
}

Ipv4Address PcapInterface::FindNeighbourByMac(MacAddress mac) {
    const bool reading = reading_thread::IsOne();
    auto link = m_hostLinks.FindByIndex(m_linkIndex);
    if ((!link || link->mac != mac) && !reading) {
        link = FindHostLink(mac);
    }
    if (link && link->mac == mac && !link->addresses.empty()) {
        return link->addresses.front().address;
    }
    if (mac == GuestMac()) {
        return GuestIp();
    }
    if (reading) {
        return m_neighbours.FindByMac(mac);
    }
    return GuestMac().IsZero() ? Ipv4Address() : m_resolver->ResolveReverse(Asker(), mac);
}

// Fills the I/O buffer with what the driver has; the number of frames, or -1.
int PcapInterface::Refill() {
    m_batch.Clear();
    const auto append = [](void* user, const CapturedFrame& frame) {
        static_cast<FrameBatch*>(user)->Append(frame.bytes, frame.captured, frame.length);
    };
    return m_capture->Dispatch(m_batch.Capacity(), append, &m_batch);
}

std::int32_t PcapInterface::TakeFrame(std::uint8_t* buffer, std::uint32_t size) {
    if (m_batch.IsEmpty()) {
        const int count = Refill();
        if (count < 0) {
            const int code = Health();
            return Fail(code != 0 ? code : EIO);
        }
        if (count == 0) {
            return 0;
        }
        Counters().NoteTransfer(m_batch.FrameBytes());
        DoTimedWork(); // frames that keep coming leave no pause for it
    }
    while (!m_batch.IsEmpty()) {
        if (const std::int32_t result = Accept(m_batch.TakeFirst(), buffer, size); result != 0) {
            return result;
        }
    }
    return 0;
}

std::int32_t PcapInterface::Accept(const FrameBatch::Frame& frame, std::uint8_t* buffer, std::uint32_t size) {
    auto& counters = Counters();
    counters.reading.packets.Add();
    counters.reading.bytes.Add(frame.length);
    const std::span<const std::uint8_t> bytes(frame.bytes, frame.captured);
    const auto ethernet = ConstEthernetView::Over(bytes);
    if (frame.captured < frame.length || !ethernet) {
        counters.ignored.Add();
        return 0;
    }
    const MacAddress destination = ethernet->Destination();
    const MacAddress source = ethernet->Source();
    if (source.IsZero()) {
        counters.reading.fromZeroMac.Add();
    }
    if (destination.IsZero()) {
        counters.reading.toZeroMac.Add();
    }
    if (source == m_mac) {
        counters.reading.fromOurself.Add();
        return 0;
    }
    if (destination != m_mac && !destination.IsGroup()) {
        counters.ignored.Add();
        return 0;
    }
    Debug().PacketRead(Name(), bytes, true);
    return Mode() == InterfaceMode::Tap ? AcceptTap(bytes, buffer, size) : AcceptTun(bytes, buffer, size);
}

// Whoever answers this frame finds its sender without a question.
void PcapInterface::NoteSender(std::span<const std::uint8_t> frame) {
    if (const auto ip = ConstIpv4View::Over(frame.subspan(kEthernetHeader))) {
        reading_thread::NoteSender(ip->Source(), ConstEthernetView::Over(frame)->Source());
    }
}

std::int32_t PcapInterface::AcceptTap(std::span<const std::uint8_t> frame, std::uint8_t* buffer,
                                      std::uint32_t size) {
    const std::uint16_t type = ConstEthernetView::Over(frame)->EtherType();
    if (type == kEtherTypeIpv4) {
        NoteSender(frame);
    } else if (type == kEtherTypeArp) {
        if (const auto arp = ConstArpView::OverEthernetIpv4(frame.subspan(kEthernetHeader));
            arp && HearArp(*arp)) {
            Counters().reading.internalArps.Add();
            return 0;
        }
    }
    return Deliver(frame, buffer, size);
}

// TAP: learns the sender. True when it is the answer to the library's own question, which is nothing that
// the program has asked for.
bool PcapInterface::HearArp(const ConstArpView& arp) {
    const MacAddress senderMac = arp.SenderHardwareAddress();
    const Ipv4Address senderIp = arp.SenderProtocolAddress();
    if (IsAnotherStation(senderMac, m_mac) && IsAnotherHost(senderIp, Scope())) {
        if (arp.TargetProtocolAddress() == GuestIp()) {
            m_neighbours.Learn(senderIp, senderMac);
        } else {
            m_neighbours.Update(senderIp, senderMac);
        }
    }
    return arp.Operation() == ArpOperation::Reply && arp.TargetHardwareAddress() == m_mac &&
           m_resolver->HasAsked(senderIp);
}

std::int32_t PcapInterface::AcceptTun(std::span<const std::uint8_t> frame, std::uint8_t* buffer,
                                      std::uint32_t size) {
    const auto payload = frame.subspan(kEthernetHeader);
    switch (ConstEthernetView::Over(frame)->EtherType()) {
    case kEtherTypeArp:
        if (const auto arp = ConstArpView::OverEthernetIpv4(payload);
            arp && m_ipv4->HandleArp(Guest(), Scope(), *arp)) {
            Counters().reading.internalArps.Add();
        } else {
            Counters().ignored.Add();
        }
        return 0;
    case kEtherTypeIpv4: {
        NoteSender(frame);
        // A short packet was padded to the shortest frame; what is behind its end is not part of it.
        // One that is longer than its frame is for the program to judge.
        std::size_t length = payload.size();
        if (const auto ip = ConstIpv4View::Over(payload); ip && ip->TotalLength() >= ConstIpv4View::kLength) {
            length = std::min<std::size_t>(length, ip->TotalLength());
        }
        if (length == 0) {
            Counters().ignored.Add();
            return 0;
        }
        return Deliver(payload.first(length), buffer, size);
    }
    default:
        Counters().ignored.Add();
        return 0;
    }
}

std::int32_t PcapInterface::Deliver(std::span<const std::uint8_t> bytes, std::uint8_t* buffer,
                                    std::uint32_t size) {
    if (bytes.size() > size) {
        Counters().ignored.Add();
        // A buffer of the full size is no mistake of the reader's: one frame of a stranger's on a wire
        // with the largest MTU must not end his reading.
        return size >= kFullReadSize ? 0 : Fail(EMSGSIZE);
    }
    std::memcpy(buffer, bytes.data(), bytes.size());
    return static_cast<std::int32_t>(bytes.size());
}

std::int32_t PcapInterface::WriteFrame(const std::uint8_t* frame, std::uint32_t length) {
    if (Mode() == InterfaceMode::Tun) {
        const auto ip = ConstIpv4View::Over({frame, length});
        if (!ip || ip->Version() != 4) {
            return Fail(EINVAL);
        }
        if (length > LargestPacket()) {
            return Fail(EMSGSIZE);
        }
        return m_ipv4->Write(Guest(), {frame, length});
    }
    if (length < kEthernetHeader) {
        return Fail(EINVAL);
    }
    return SendFrame(frame, length);
}

// Sends one whole Ethernet frame and counts it; its length, or -1 with errno. A frame that the system does
// not take because the adapter has no carrier is lost on the way, as it were behind the adapter: the program
// goes on, and is told by the watch.
std::int32_t PcapInterface::SendFrame(const std::uint8_t* frame, std::uint32_t length) {
    const std::uint32_t limit = LargestPacket() + kEthernetHeader;
    const bool tagged = ConstEthernetView::Over({frame, length})->EtherType() == kEtherTypeVlan;
    if (length > limit + (tagged ? kVlanTag : 0)) {
        return Fail(EMSGSIZE);
    }
    Counters().writing.ios.Add();
    bool noCarrier = false;
    const auto isPointless = [&] { return noCarrier = !HostLinkHasCarrier(m_linkIndex); };
    if (m_capture->Send(frame, length, std::ref(isPointless)) == 0) {
        CountWritten({frame, length});
    } else if (noCarrier) {
        m_watch.Look(Name(), Debug());
    } else {
        return -1;
    }
    return static_cast<std::int32_t>(length);
}

void PcapInterface::CountWritten(std::span<const std::uint8_t> frame) {
    auto& counting = Counters().writing;
    counting.packets.Add();
    counting.bytes.Add(static_cast<std::int64_t>(frame.size()));
    const auto ethernet = ConstEthernetView::Over(frame);
    if (ethernet->Destination().IsZero()) {
        counting.toZeroMac.Add();
    }
    if (ethernet->Source().IsZero()) {
        counting.fromZeroMac.Add();
    }
    Debug().PacketWritten(Name(), frame, true);
}

} // namespace vnxtest
