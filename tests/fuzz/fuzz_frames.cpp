// Frames from a hostile wire through the pcap library, the receive path and out again.
//
// The capture below the pcap library is replaced by a wire with the input's frames, so that everything
// above it runs unchanged, without rights and without waiting. Every frame sent must be valid.
#include <atomic>
#include <cstring>
#include <thread>

#include <sys/eventfd.h>

#include "core/debug_output.h"
#include "core/interface_lifecycle.h"
#include "core/output_channel.h"
#include "fuzz_input.h"
#include "packets/arp_packet.h"
#include "packets/icmp_echo.h"
#include "packets/ipv4_packet.h"
#include "packets/reply_scope.h"
#include "ping/receive_path.h"
#include "support/hex.h"
#include "vnetx/pcap/capture.h"
#include "vnetx/pcap/pcap_library.h"

namespace vnxtest {

namespace {

// Opens lo, which every user may query; the guest's subnet could be a real one.
constexpr wchar_t kOpened[] = L"127.0.0.1";
constexpr Ipv4Address kAdapterIp(10, 77, 0, 1), kGuestIp(10, 77, 0, 111), kTarget(10, 77, 0, 2);
constexpr MacAddress kGuestMac({0x02, 0, 0x5E, 0x80, 0, 0x6F}), kOtherMac({0x02, 0, 0, 0, 0, 0x0B});
constexpr std::size_t kIcmp = EthernetView::kLength + Ipv4View::kLength;

// A frame on its way to the guest.
struct Incoming {
    Frame frame;
    bool replyToPing = false; // it gets the numbers of the last ping that was sent
};

// Shared by the ping's sender and the reader, hence the lock.
struct Wire {
    std::mutex lock;
    std::deque<Incoming> toGuest;
    std::optional<Frame> arpAnswer;
    std::uint32_t lastPing = 0; // identifier and sequence number as in the packet
    std::atomic<bool> asked{false}, pinged{false};

    void TakeFromGuest(std::span<const std::uint8_t> frame) {
        const std::lock_guard guard(lock);
        const auto ethernet = ConstEthernetView::Over(frame);
        Claim(ethernet.has_value(), "a frame has an Ethernet header");
        Claim(ethernet->Source() == kGuestMac, "a frame is the guest's own");
        Claim(
            !IsReplyToNobody(frame, true, {kGuestMac, kGuestIp, kGuestIp, Ipv4Address(255, 255, 255, 0), {}}),
            "a reply is for another station");
        const auto payload = frame.subspan(EthernetView::kLength);
        if (ethernet->EtherType() == kEtherTypeIpv4) {
            TakePacket(payload);
        } else if (ethernet->EtherType() == kEtherTypeArp) {
            const auto arp = ConstArpView::OverEthernetIpv4(payload);
            Claim(arp.has_value() && frame.size() == kArpFrameLength, "an ARP frame is one");
            const Ipv4Address sender = arp->SenderProtocolAddress(), target = arp->TargetProtocolAddress();
            const bool probe = sender.IsZero() && target == kGuestIp; // nobody answers it here
            Claim(arp->SenderHardwareAddress() == kGuestMac && (sender == kGuestIp || probe),
                  "ARP speaks for the guest only");
            if (arp->Operation() == ArpOperation::Request && !probe) {
                const auto answer =
                    MakeArpFrame(kGuestMac, {ArpOperation::Reply, kOtherMac, target, kGuestMac, kGuestIp});
                arpAnswer = Frame(answer.begin(), answer.end());
                toGuest.push_front({*arpAnswer}); // the library hears it on its other socket, too
                asked = true;
            }
        }
    }

    void TakePacket(std::span<const std::uint8_t> packet) {
        Claim(packet.size() > 28, "a packet holds an echo message");
        const auto ip = ConstIpv4View::Over(packet);
        Claim(ip->Source() == kGuestIp, "the guest is the source");
        Claim(ip->HasRightChecksum(), "the IP checksum is right");
        const auto total = std::clamp<std::size_t>(ip->TotalLength(), 28, packet.size());
        const auto message = packet.subspan(Ipv4View::kLength, total - Ipv4View::kLength);
        Claim(InetChecksum(message) == 0, "the ICMP checksum is right");
        if (ConstIcmpEchoView::Over(message)->Type() == kIcmpEchoRequest) {
            std::memcpy(&lastPing, message.data() + 4, 4);
            pinged = true;
        }
    }

    Frame TakeFirst() {
        auto [frame, replyToPing] = std::move(toGuest.front());
        toGuest.pop_front();
        if (replyToPing && frame.size() >= kIcmp + 8) {
            const auto message = std::span(frame).subspan(kIcmp);
            std::memcpy(message.data() + 4, &lastPing, 4);
            SealIcmp(message);
        }
        return frame;
    }
};
Wire* g_wire = nullptr;

int Hand(FrameHandler handler, void* user, const Frame& frame) {
    const auto length = static_cast<std::uint32_t>(frame.size());
    const auto* bytes = frame.empty() ? reinterpret_cast<const std::uint8_t*>("") : frame.data();
    handler(user, {bytes, length, length});
    return 1;
}

// A capture: the one of the interface, or one that hears ARP answers only.
class FuzzedCapture final : public Capture {
public:
    explicit FuzzedCapture(bool arpOnly) : m_arpOnly(arpOnly) {}

    int Dispatch(int count, FrameHandler handler, void* user) override {
        const std::lock_guard guard(g_wire->lock);
        std::deque<Incoming>& frames = g_wire->toGuest;
        int handed = 0;
        if (m_arpOnly) {
            if (g_wire->arpAnswer) { // something else comes before it
                handed = frames.empty() ? 0 : Hand(handler, user, frames.back().frame);
                handed += Hand(handler, user, *g_wire->arpAnswer);
                g_wire->arpAnswer.reset();
            }
            return handed;
        }
        while (handed < count && !frames.empty() && (handed == 0 || !frames.front().replyToPing)) {
            handed += Hand(handler, user, g_wire->TakeFirst());
        }
        return handed > 0 ? handed : (errno = EIO, -1); // at the end the adapter breaks
    }
    bool Restart(MacAddress) override { return true; }
    WaitObject GetWaitObject() const override {
        static const int alwaysReadable = eventfd(1, EFD_CLOEXEC);
        return alwaysReadable;
    }
    std::optional<std::uint64_t> Dropped() override { return 0; }

private:
    int TrySend(const void* frame, std::uint32_t length) override {
        g_wire->TakeFromGuest({static_cast<const std::uint8_t*>(frame), length});
        return 0;
    }

    const bool m_arpOnly;
};

class NoView : public ViewPort {
    void PostViewMessage(ViewMessage) override {}
};

// The engine around one interface, without its threads. It lives as long as the process.
struct Engine {
    std::unique_ptr<VnetxLibrary> library = MakePcapLibrary();
    NoView view;
    OutputChannel channel{view};
    RunSettings run;
    PacketWriter writer{*library, [](Ipv4Address) { return Ipv4Address(); }};
    PingTest pingTest{*library, writer, run, view};
    ReceivePath receivePath{*library, writer, run, pingTest};
    INTERFACE_INFO info;

    Engine() {
        channel.Attach();
        RegisterDebugOutput(*library);
        run.debugFlags = 0xFFFFFFFF;
    }

    void Prepare(std::uint8_t options) {
        info.Reset();
        InterfaceAddresses& addresses = info.addresses;
        addresses.gatewayMac = kOtherMac;
        run.debugMode = (options & kDebugMode) != 0;
        info.asked.tapMode = (options & kTapMode) != 0;
        info.asked.adapterIpText = kOpened;
        addresses.adapterIp = kAdapterIp;
        info.asked.guestIpText = FormatIPAddr(addresses.guestIp = kGuestIp);
        info.asked.guestMacText = FormatMACAddr(addresses.guestMac = kGuestMac);
        addresses.adapterMac = kOtherMac;
        addresses.netMask = Ipv4Address(255, 255, 255, 0);
        addresses.inAdapterSubnet = addresses.adapterKnown = true;
    }

    void ReadAll() {
        constexpr std::size_t kHeadroom = ReceivedPacket::kHeadroom;
        Frame buffer(65535);
        for (std::int32_t length = 0; length >= 0;) {
            length = library->Read(info.open.Handle(), buffer.data(), 65535);
            if (length > 0) {
                // Exactly as long as the packet, so that a read beyond it is detected.
                Frame storage(kHeadroom + static_cast<std::size_t>(length));
                std::copy_n(buffer.begin(), length, storage.begin() + kHeadroom);
                receivePath.HandleReceivedPacket(info, ReceivedPacket(storage));
            }
        }
    }
};

} // namespace

std::unique_ptr<Capture> Capture::Open(const CaptureOptions& options) {
    return std::make_unique<FuzzedCapture>(options.wanted != CaptureOptions::Wanted::Guest);
}

} // namespace vnxtest

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vnxtest;
    static Engine& engine = *new Engine;
    Wire wire;
    g_wire = &wire;
    const std::uint8_t options = size > 0 ? data[0] : 0;
    engine.Prepare(options);
    Claim(CreateInterface(engine.info, *engine.library, engine.run) >= 0, "lo can be opened");
    if ((options & kWithPings) != 0) {
        engine.pingTest.Start(engine.info, {kTarget, L"10.77.0.2", 8, 1, 10000, 0});
        while (!(engine.info.asked.tapMode ? wire.pinged : wire.asked)) {
            std::this_thread::yield();
        }
    }
    ForEachRecord(std::span(data, size), [&](std::uint16_t flags, std::span<const std::uint8_t> frame) {
        const std::lock_guard guard(wire.lock);
        wire.toGuest.push_back({Frame(frame.begin(), frame.end()), (flags & kReplyToPing) != 0});
    });
    engine.ReadAll();
    engine.pingTest.StopPingTest();
    ReportStatisticsAndClose(engine.info, *engine.library);
    Claim(engine.channel.TakePending().find('\0') == std::string::npos, "the document is text");
    return 0;
}
