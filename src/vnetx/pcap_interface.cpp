#include "vnetx/pcap_interface.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>

#include "packets/reply_scope.h"
#include "vnetx/failure.h"
#include "vnetx/reading_thread.h"
#include "vnetx/wire_format.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

constexpr std::uint32_t kVlanTagLength = 4;
constexpr std::uint16_t kEtherTypeVlan = 0x8100;

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
        options.snapshotLength =
            LargestPacket() + static_cast<std::uint32_t>(kEthernetHeaderLength) + kVlanTagLength;
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
    if (frame.captured < frame.length || frame.captured < kEthernetHeaderLength) {
        counters.ignored.Add();
        return 0;
    }
    const MacAddress destination = LoadMac(frame.bytes);
    const MacAddress source = LoadMac(frame.bytes + 6);
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
    Debug().PacketRead(Name(), {frame.bytes, frame.captured}, true);
    return Mode() == InterfaceMode::Tap ? AcceptTap(frame, buffer, size) : AcceptTun(frame, buffer, size);
}

// Whoever answers this frame finds its sender without a question.
void PcapInterface::NoteSender(const FrameBatch::Frame& frame) {
    if (frame.captured >= kEthernetHeaderLength + kIpv4HeaderLength) {
        reading_thread::NoteSender(LoadIpv4(frame.bytes + kEthernetHeaderLength + 12),
                                   LoadMac(frame.bytes + 6));
    }
}

std::int32_t PcapInterface::AcceptTap(const FrameBatch::Frame& frame, std::uint8_t* buffer,
                                      std::uint32_t size) {
    const std::uint16_t type = LoadBe16(frame.bytes + 12);
    if (type == kEtherTypeIpv4) {
        NoteSender(frame);
    } else if (type == kEtherTypeArp) {
        const auto arp =
            ParseArp({frame.bytes + kEthernetHeaderLength, frame.captured - kEthernetHeaderLength});
        if (arp && IsAnotherStation(arp->senderMac, m_mac) && IsAnotherHost(arp->senderIp, Scope())) {
            if (arp->targetIp == GuestIp()) {
                m_neighbours.Learn(arp->senderIp, arp->senderMac);
            } else {
                m_neighbours.Update(arp->senderIp, arp->senderMac);
            }
        }
        // The answer to the library's own question is nothing that the program has asked for.
        if (arp && arp->operation == kArpReply && arp->targetMac == m_mac &&
            m_resolver->HasAsked(arp->senderIp)) {
            Counters().reading.internalArps.Add();
            return 0;
        }
    }
    return Deliver(frame.bytes, frame.captured, buffer, size);
}

std::int32_t PcapInterface::AcceptTun(const FrameBatch::Frame& frame, std::uint8_t* buffer,
                                      std::uint32_t size) {
    const std::span<const std::uint8_t> payload(frame.bytes + kEthernetHeaderLength,
                                                frame.captured - kEthernetHeaderLength);
    switch (LoadBe16(frame.bytes + 12)) {
    case kEtherTypeArp:
        if (const auto arp = ParseArp(payload); arp && m_ipv4->HandleArp(Guest(), Scope(), *arp)) {
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
        if (length >= kIpv4HeaderLength) {
            const std::size_t total = LoadBe16(payload.data() + 2);
            length = total >= kIpv4HeaderLength && total < length ? total : length;
        }
        if (length == 0) {
            Counters().ignored.Add();
            return 0;
        }
        return Deliver(payload.data(), static_cast<std::uint32_t>(length), buffer, size);
    }
    default:
        Counters().ignored.Add();
        return 0;
    }
}

std::int32_t PcapInterface::Deliver(const std::uint8_t* bytes, std::uint32_t length, std::uint8_t* buffer,
                                    std::uint32_t size) {
    if (length > size) {
        Counters().ignored.Add();
        // A buffer of the full size is no mistake of the reader's: one frame of a stranger's on a wire
        // with the largest MTU must not end his reading.
        return size >= kFullReadSize ? 0 : Fail(EMSGSIZE);
    }
    std::memcpy(buffer, bytes, length);
    return static_cast<std::int32_t>(length);
}

std::int32_t PcapInterface::WriteFrame(const std::uint8_t* frame, std::uint32_t length) {
    if (Mode() == InterfaceMode::Tun) {
        if (length < kIpv4HeaderLength || frame[0] >> 4 != 4) {
            return Fail(EINVAL);
        }
        if (length > LargestPacket()) {
            return Fail(EMSGSIZE);
        }
        return m_ipv4->Write(Guest(), frame, length);
    }
    if (length < kEthernetHeaderLength) {
        return Fail(EINVAL);
    }
    return SendFrame(frame, length);
}

// Sends one whole Ethernet frame and counts it; its length, or -1 with errno. A frame that the system does
// not take because the adapter has no carrier is lost on the way, as it were behind the adapter: the program
// goes on, and is told by the watch.
std::int32_t PcapInterface::SendFrame(const std::uint8_t* frame, std::uint32_t length) {
    const std::uint32_t limit = LargestPacket() + static_cast<std::uint32_t>(kEthernetHeaderLength);
    if (length > limit && !(LoadBe16(frame + 12) == kEtherTypeVlan && length <= limit + kVlanTagLength)) {
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
    if (LoadMac(frame.data()).IsZero()) {
        counting.toZeroMac.Add();
    }
    if (LoadMac(frame.data() + 6).IsZero()) {
        counting.fromZeroMac.Add();
    }
    Debug().PacketWritten(Name(), frame, true);
}

} // namespace vnxtest
