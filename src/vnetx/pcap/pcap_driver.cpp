#include "vnetx/pcap/pcap_driver.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>

#include "packets/arp_packet.h"
#include "packets/ipv4_packet.h"
#include "packets/reply_scope.h"
#include "vnetx/driver/reading_thread.h"
#include "vnetx/failure.h"
#include "vnetx/frame_arrival.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

constexpr std::uint32_t kEthernetHeader = EthernetView::kLength, kVlanTag = kVlanTagLength;

// Interfaces are numbered over the process, so that two of them never share a name.
std::string FreshName() {
    static std::atomic<unsigned> next{0};
    return "vnx" + std::to_string(next.fetch_add(1));
}

} // namespace

PcapDriver::PcapDriver(const HostLink& link, InterfaceState& state)
    : Driver(state), m_device(link.captureName), m_linkIndex(link.index), m_linkMtu(link.mtu), m_watch(link),
      m_neighbours(state, link.index), m_addresses(link.mac) {}

PcapDriver::~PcapDriver() {
    std::vector<std::unique_ptr<Capture>> captures = m_neighbours.TakeCaptures();
    captures.push_back(std::move(m_capture));
    CloseTogether(std::move(captures));
}

int PcapDriver::Open() {
    const auto sent = [this](std::span<const std::uint8_t> frame) {
        Counters().writing.ios.Add();
        CountWritten(frame);
    };
    if (const int code =
            m_neighbours.Open(m_device, sent, [this](const std::string& why) { TellRefusal(why); });
        code != 0) {
        return code;
    }
    Ipv4OverEthernet::Functions functions;
    functions.send = [this](std::span<const std::uint8_t> frame) { return SendFrame(frame); };
    functions.drop = [this] { Counters().ignored.Add(); };
    functions.wakeReader = [this] { State().gate->Wake(); };
    m_ipv4 = std::make_unique<Ipv4OverEthernet>(
        Ipv4OverEthernet::Surroundings{m_neighbours.Table(), m_neighbours.Resolver(),
                                       m_neighbours.HostLinks(), m_linkIndex, State().reader},
        std::move(functions));
    return 0;
}

int PcapDriver::Attach(InterfaceMode, std::string& name) {
    name = FreshName();
    return 0;
}

int PcapDriver::SetUp(bool up) {
    if (!up) {
        return 0; // frames that come meanwhile are discarded at the next start
    }
    m_mac = Settings().GuestMac();
    if (m_mac.IsZero()) {
        return EADDRNOTAVAIL;
    }
    if (const auto link = m_neighbours.HostLinks().FindByIndex(m_linkIndex);
        link && !link->addresses.empty()) {
        Settings().adapterIp.Set(link->addresses.front().address);
        Settings().adapterMask.Set(link->addresses.front().mask);
    }
    const int code = m_capture ? BeginAgain() : OpenCapture();
    if (code == 0) {
        BeginWatching();
    }
    return code;
}

// Asks whether another station has the guest's address. The question is the library's own and counts as no
// frame of the guest's; it waits for nothing.
void PcapDriver::BeginWatching() {
    m_watch.History().Begin(LinkHistory::Clock::now());
    if (const auto probe = m_addresses.Begin(m_mac, Settings().guestIp.Get())) {
        m_capture->Send(probe->data(), static_cast<std::uint32_t>(probe->size()), [] { return true; });
    }
}

std::optional<WireFacts> PcapDriver::Noticed() {
    WireFacts facts;
    m_addresses.AddTo(facts);
    facts.silent = m_neighbours.Table().Silent();
    m_watch.History().AddTo(facts, LinkHistory::Clock::now());
    m_tags.AddTo(facts);
    facts.beyondMtu = {static_cast<std::uint64_t>(m_tooLong.Get()), m_longest.load(), LargestPacket()};
    return facts;
}

int PcapDriver::OpenCapture() {
    CaptureOptions options;
    options.device = m_device;
    // Slots of the receive ring are as long as the largest frame and no longer: a generous length would
    // leave room for a few frames only.
    options.snapshotLength = LargestPacket() + kEthernetHeader + kVlanTag;
    options.bufferSize = Settings().deviceBufferSize.load(std::memory_order_relaxed);
    options.guest = m_mac;
    options.guestIp = Settings().guestIp.Get();
    options.tell = [this](const std::string& why) { TellRefusal(why); };
    std::unique_ptr<Capture> capture = Capture::Open(options);
    if (!capture) {
        return errno;
    }
    m_batch.Resize(Settings().ioBufferSize.load(std::memory_order_relaxed), options.snapshotLength);
    Settings().ioBufferSize.store(m_batch.Size()); // the actual size, for the statistics
    m_capture = std::move(capture);
    return 0;
}

// Up again: the frames that came meanwhile are discarded.
int PcapDriver::BeginAgain() {
    if (!m_capture->Restart(m_mac)) {
        return errno;
    }
    while (Refill() > 0) {
        m_batch.Clear();
    }
    return 0;
}

int PcapDriver::Health() {
    if (const int code = HostLinkHealth(m_linkIndex); code != 0) {
        m_watch.History().Note(code == ENODEV ? LinkHistory::State::Gone : LinkHistory::State::Down,
                               LinkHistory::Clock::now());
        return code;
    }
    m_watch.Look(Settings().name, Debug());
    return m_capture ? m_capture->Error() : 0;
}

std::optional<Ipv4Address> PcapDriver::Address() {
    const auto link = FindHostLinkByIndex(m_linkIndex);
    return link && !link->addresses.empty() ? std::optional(link->addresses.front().address) : std::nullopt;
}

// Fills the I/O buffer from the capture, without what only the probe has caused; the number of frames taken
// from the capture, or -1.
int PcapDriver::Refill() {
    m_batch.Clear();
    const auto append = [](void* user, const CapturedFrame& frame) {
        auto& driver = *static_cast<PcapDriver*>(user);
        if (!driver.m_addresses.Takes({frame.bytes, frame.captured})) {
            driver.m_batch.Append({frame.bytes, frame.captured, frame.length, frame.arrivedUnixNs});
        }
    };
    return m_capture->Dispatch(m_batch.Capacity(), append, this);
}

std::int32_t PcapDriver::TakeFrame(std::span<std::uint8_t> buffer) {
    if (m_batch.IsEmpty()) {
        const int count = Refill();
        if (count < 0) {
            const int code = Health();
            return Fail(code != 0 ? code : EIO);
        }
        if (m_batch.IsEmpty()) {
            return 0;
        }
        Counters().NoteTransfer(m_batch.FrameBytes());
        DoTimedWork(); // here, too, since a flood leaves no pause
    }
    while (!m_batch.IsEmpty()) {
        if (const std::int32_t result = Accept(m_batch.TakeFirst(), buffer); result != 0) {
            return result;
        }
    }
    return 0;
}

std::int32_t PcapDriver::Accept(const FrameBatch::Frame& frame, std::span<std::uint8_t> buffer) {
    auto& counters = Counters();
    counters.reading.packets.Add();
    counters.reading.bytes.Add(frame.length);
    const std::span<const std::uint8_t> bytes(frame.bytes, frame.captured);
    const auto ethernet = ConstEthernetView::Over(bytes);
    if (frame.captured < frame.length || !ethernet) {
        counters.ignored.Add();
        NoteTooLong(frame.length);
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
        m_addresses.HearOwnMac(bytes);
        return 0;
    }
    if (destination != m_mac && !destination.IsGroup()) {
        counters.ignored.Add();
        return 0;
    }
    Debug().PacketRead(Settings().name, bytes, true);
    if (ethernet->EtherType() == kEtherTypeArp) {
        if (const auto arp = ConstArpView::OverEthernetIpv4(bytes.subspan(kEthernetHeader))) {
            m_addresses.HearArp(*arp);
        }
    }
    frame_arrival::Note(frame.arrivedUnixNs);
    return Settings().IsTap() ? AcceptTap(bytes, buffer) : AcceptTun(bytes, buffer);
}

// What is kept of a frame has room for the MTU, the header and a tag: one that is cut short was longer.
void PcapDriver::NoteTooLong(std::uint32_t length) {
    if (length > LargestPacket() + kEthernetHeader + kVlanTag) {
        m_tooLong.Add();
        m_longest.store(std::max(m_longest.load(), length));
    }
}

// For the answer to this frame, which then needs no ARP exchange.
void PcapDriver::NoteSender(std::span<const std::uint8_t> frame) {
    if (const auto ip = ConstIpv4View::Over(frame.subspan(kEthernetHeader))) {
        reading_thread::NoteSender(ip->Source(), ConstEthernetView::Over(frame)->Source());
    }
}

std::int32_t PcapDriver::AcceptTap(std::span<const std::uint8_t> frame, std::span<std::uint8_t> buffer) {
    const std::uint16_t type = ConstEthernetView::Over(frame)->EtherType();
    if (type == kEtherTypeIpv4) {
        NoteSender(frame);
    } else if (type == kEtherTypeArp) {
        if (const auto arp = ConstArpView::OverEthernetIpv4(frame.subspan(kEthernetHeader));
            arp && m_neighbours.HearArp(*arp, m_mac)) {
            Counters().reading.internalArps.Add();
            return 0;
        }
    }
    return Deliver(frame, buffer);
}

std::int32_t PcapDriver::AcceptTun(std::span<const std::uint8_t> frame, std::span<std::uint8_t> buffer) {
    const auto payload = frame.subspan(kEthernetHeader);
    switch (ConstEthernetView::Over(frame)->EtherType()) {
    case kEtherTypeArp:
        if (const auto arp = ConstArpView::OverEthernetIpv4(payload);
            arp && m_ipv4->HandleArp(Guest(), Settings().Scope(), *arp)) {
            Counters().reading.internalArps.Add();
        } else {
            Counters().ignored.Add();
        }
        return 0;
    case kEtherTypeIpv4: {
        NoteSender(frame);
        // Cuts off the padding of a short frame. A packet that is longer than its frame is left for the
        // program to refuse.
        std::size_t length = payload.size();
        if (const auto ip = ConstIpv4View::Over(payload); ip && ip->TotalLength() >= ConstIpv4View::kLength) {
            length = std::min<std::size_t>(length, ip->TotalLength());
        }
        if (length == 0) {
            Counters().ignored.Add();
            return 0;
        }
        return Deliver(payload.first(length), buffer);
    }
    case kEtherTypeVlan:
        m_tags.Hear(frame, Settings().guestIp.Get());
        [[fallthrough]];
    default:
        Counters().ignored.Add();
        return 0;
    }
}

std::int32_t PcapDriver::Deliver(std::span<const std::uint8_t> bytes, std::span<std::uint8_t> buffer) {
    if (bytes.size() > buffer.size()) {
        Counters().ignored.Add();
        // With a buffer of the full size the frame is dropped: a stranger's frame on a wire with the
        // largest MTU must not end the reading.
        return buffer.size() >= kFullReadSize ? 0 : Fail(EMSGSIZE);
    }
    std::memcpy(buffer.data(), bytes.data(), bytes.size());
    return static_cast<std::int32_t>(bytes.size());
}

std::int32_t PcapDriver::WriteFrame(std::span<const std::uint8_t> frame) {
    if (!Settings().IsTap()) {
        const auto ip = ConstIpv4View::Over(frame);
        if (!ip || ip->Version() != 4) {
            return Fail(EINVAL);
        }
        if (frame.size() > LargestPacket()) {
            return Fail(EMSGSIZE);
        }
        return m_ipv4->Write(Guest(), frame);
    }
    if (frame.size() < kEthernetHeader) {
        return Fail(EINVAL);
    }
    return SendFrame(frame);
}

// Sends one whole Ethernet frame and counts it; its length, or -1 with errno. A frame that the system
// refuses because the adapter has no carrier counts as lost on the wire: the call succeeds, and
// AdapterWatch tells of the carrier.
std::int32_t PcapDriver::SendFrame(std::span<const std::uint8_t> frame) {
    const auto length = static_cast<std::uint32_t>(frame.size());
    const std::uint32_t limit = LargestPacket() + kEthernetHeader;
    const bool tagged = ConstEthernetView::Over(frame)->EtherType() == kEtherTypeVlan;
    if (length > limit + (tagged ? kVlanTag : 0)) {
        return Fail(EMSGSIZE);
    }
    Counters().writing.ios.Add();
    bool noCarrier = false;
    const auto isPointless = [&] { return noCarrier = !HostLinkHasCarrier(m_linkIndex); };
    if (m_capture->Send(frame.data(), length, std::ref(isPointless)) == 0) {
        CountWritten(frame);
    } else if (noCarrier) {
        m_watch.Look(Settings().name, Debug());
    } else {
        return -1;
    }
    return static_cast<std::int32_t>(length);
}

void PcapDriver::CountWritten(std::span<const std::uint8_t> frame) {
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
    Debug().PacketWritten(Settings().name, frame, true);
}

} // namespace vnxtest
