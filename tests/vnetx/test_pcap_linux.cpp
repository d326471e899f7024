// The `pcap` library over a real veth pair: in TAP mode, where the program sees every frame, and in
// TUN mode, where ARP and next hops are the library's own.
#include <future>

#include <pcap.h>

#include "vnetx/pcap_api.h"
#include "vnetx/veth_lab.h"

namespace vnxtest {
namespace {

using namespace std::chrono_literals;

// The capture library's binary interface as it is declared here is the system's.
static_assert(sizeof(PcapPacketHeader) == sizeof(pcap_pkthdr));
static_assert(offsetof(PcapPacketHeader, captured) == offsetof(pcap_pkthdr, caplen));
static_assert(offsetof(PcapPacketHeader, length) == offsetof(pcap_pkthdr, len));
static_assert(sizeof(PcapProgram) == sizeof(bpf_program));
static_assert(offsetof(PcapProgram, instructions) == offsetof(bpf_program, bf_insns));
static_assert(kPcapLinkTypeEthernet == DLT_EN10MB && kPcapDirectionIn == PCAP_D_IN);
static_assert(kPcapErrorNoSuchDevice == PCAP_ERROR_NO_SUCH_DEVICE &&
              kPcapErrorPermissionDenied == PCAP_ERROR_PERM_DENIED &&
              kPcapErrorInterfaceNotUp == PCAP_ERROR_IFACE_NOT_UP &&
              kPcapErrorPromiscuousDenied == PCAP_ERROR_PROMISC_PERM_DENIED);
static_assert(kPcapErrorBufferSize == PCAP_ERRBUF_SIZE && kPcapNetMaskUnknown == PCAP_NETMASK_UNKNOWN);

constexpr MacAddress kStranger({2, 0, 0, 0, 0, 0x77});
constexpr Ipv4Address kNobody(10, 79, 0, 200);

Bytes Frame(MacAddress destination, MacAddress source, std::uint16_t type, std::size_t length) {
    return EthernetFrame(destination, source, type, Bytes(length - kEthernetHeaderLength, 0x55));
}

// The guest, and the far end of its wire.
class Pcap : public LabModesTest {
protected:
    LibraryGuest& Open(GuestOptions options) {
        m_guest.reset();
        m_guest = std::make_unique<LibraryGuest>(*m_library, options);
        m_wire = RawPeer();
        return *m_guest;
    }
    void Put(const Bytes& frame) {
        ASSERT_EQ(send(m_wire.Get(), frame.data(), frame.size(), 0), static_cast<ssize_t>(frame.size()));
    }
    // The next frame of `type` that the far end sees (an IP packet: to `destination`). The guest reads
    // meanwhile, as the program's thread does. Nothing when none comes within a while.
    Bytes Seen(std::uint16_t type, Ipv4Address destination = {}) {
        m_guest->Set(VNETX_VNXSTIMEOUT, 5);
        Bytes frame(65535);
        for (const auto end = Clock::now() + 2s; Clock::now() < end; m_guest->TryRead()) {
            for (ssize_t got = 0; (got = recv(m_wire.Get(), &frame[0], 65535, MSG_DONTWAIT)) > 0;) {
                if (LoadBe16(&frame[12]) == type &&
                    (destination.IsZero() || LoadIpv4(&frame[30]) == destination)) {
                    frame.resize(static_cast<std::size_t>(got));
                    return frame;
                }
            }
        }
        return {};
    }

    const std::unique_ptr<VnetxLibrary> m_library = MakePcapLibrary();
    std::unique_ptr<LibraryGuest> m_guest;
    Descriptor m_wire;
    GuestOptions m_options = OnTheWire(GetParam());
};
class PcapTap : public Pcap {};
class PcapTun : public Pcap {};
INSTANTIATE_TEST_SUITE_P(Modes, Pcap, testing::Bool(), ModeName);
INSTANTIATE_TEST_SUITE_P(Modes, PcapTap, testing::Values(true), ModeName);
INSTANTIATE_TEST_SUITE_P(Modes, PcapTun, testing::Values(false), ModeName);

TEST_P(Pcap, GuestAndKernelFindEachOtherAndEveryFrameIsCounted) {
    LibraryGuest& guest = Open(m_options);
    constexpr int kPings = 500;
    const auto ping = [&](std::uint16_t first, std::uint16_t last, std::size_t size) {
        for (std::uint16_t n = first; n <= last; ++n) {
            EXPECT_GT(guest.Ping(kPeer, n, size), 0);
        }
        const auto replies = guest.ReadReplies();
        EXPECT_TRUE(replies.answered == last - first + 1 && replies.extra + replies.spoilt == 0);
    };
    ping(1, 1, 1); // its frame is padded
    ASSERT_TRUE(Peer("ip neigh flush dev vt1"));
    ping(2, 2, 32); // now the kernel has to ask
    ping(3, kPings, 1472);
    const auto statistics = guest.Statistics();
    const int own = GetParam() ? 1 : 0; // in TAP mode the guest itself answers the kernel
    const auto arps = statistics.internalArps + own;
    EXPECT_GE(arps, 2);
    EXPECT_EQ(statistics.packetsRead, kPings + arps + statistics.ignored);
    EXPECT_EQ(statistics.packetsWritten, kPings + arps);
    EXPECT_EQ(statistics.writeIos, kPings + arps);
    EXPECT_EQ(statistics.writeCalls, kPings + own);
    EXPECT_LE(statistics.readIos, statistics.packetsRead);
    EXPECT_GE(statistics.maximumBytesReceived, 1514u);
    // What is too long, or no packet, is refused.
    EXPECT_EQ(ErrorOf(guest.Ping(kPeer, 1, 1473)), EMSGSIZE);
    EXPECT_EQ(ErrorOf(guest.Write(Bytes(13, 0x45))), EINVAL);
    EXPECT_EQ(guest.Statistics().writeIos, statistics.writeIos) << "before the system is asked";
    EXPECT_EQ(guest.Write(Bytes(40, 0x65)), GetParam() ? 40 : -1) << "IPv6 in TUN mode";
}

TEST_P(PcapTap, FramesAreDeliveredCountedOrLeftOutByTheirAddresses) {
    LibraryGuest& guest = Open(m_options);
    const MacAddress mac = guest.Mac();
    for (const Bytes& frame : {Frame(mac, kStranger, 0x86DD, 60), Frame(mac, MacAddress(), 0x0800, 61),
                               Frame(MacAddress({0x01, 0, 0x5E, 0, 0, 1}), kStranger, 0x0800, 1514)}) {
        Put(frame);
        EXPECT_EQ(guest.Read(), frame);
    }
    Put(Frame(kStranger, kPeerMac, 0x0800, 62)); // not for us: the kernel leaves it out
    Put(Frame(MacAddress(), kStranger, 0x0800, 63));
    Put(Frame(MacAddress::Broadcast(), mac, 0x0800, 64)); // a reflection of our own
    EXPECT_TRUE(guest.Read().empty());
    // Longer than a frame could be when the handle was opened: counted, never delivered cut.
    ASSERT_TRUE(Shell("ip link set vt0 mtu 9000") && Peer("ip link set vt1 mtu 9000"));
    Put(Frame(mac, kStranger, 0x0800, 4000));
    EXPECT_TRUE(guest.Read().empty());
    // A buffer that is too small gets an error, not a piece.
    Put(Frame(mac, kStranger, 0x0800, 100));
    std::uint8_t small[50];
    EXPECT_EQ(ErrorOf(m_library->Read(guest.Handle(), small, sizeof small)), EMSGSIZE);
    // And out it goes as it is.
    for (const Bytes& frame : {Frame(kPeerMac, kStranger, 0x1234, 1514), Frame({}, {}, 0x1235, 60)}) {
        EXPECT_EQ(guest.Write(frame), static_cast<std::int32_t>(frame.size()));
        EXPECT_EQ(Seen(LoadBe16(&frame[12])), frame);
    }
    const auto statistics = guest.Statistics();
    EXPECT_EQ(statistics.packetsRead, 7);
    EXPECT_EQ(statistics.bytesRead, 60 + 61 + 1514 + 63 + 64 + 4000 + 100);
    EXPECT_EQ(statistics.ignored, 3);
    EXPECT_EQ(statistics.packetsWritten, 2);
    EXPECT_EQ(statistics.bytesWritten, 1514 + 60);
    for (const auto once : {statistics.fromZeroMacRead, statistics.toZeroMacRead, statistics.fromOurself,
                            statistics.toZeroMacWritten, statistics.fromZeroMacWritten}) {
        EXPECT_EQ(once, 1);
    }
}

TEST_P(PcapTap, AReadEndsWithItsTimeAndWithTheHandle) {
    for (const char* name : {"10.79.0.9", "02-00-00-00-00-99", "no address"}) {
        EXPECT_EQ(ErrorOf(m_library->Open(name, VNETX_OPEN_READ_WRITE)), ENODEV) << name;
    }
    m_options.adapter = "02-00-00-00-79-01";
    LibraryGuest& guest = Open(m_options);
    const auto start = Clock::now();
    EXPECT_TRUE(guest.Read().empty());
    EXPECT_GE(Clock::now() - start, 245ms);
    EXPECT_LT(Clock::now() - start, 2s);
    ASSERT_EQ(guest.Set(VNETX_VNXSTIMEOUT, 0), 0);
    auto reader = std::async(std::launch::async, [this, handle = guest.Handle()] {
        std::uint8_t buffer[2048];
        return ErrorOf(m_library->Read(handle, buffer, sizeof buffer));
    });
    EXPECT_EQ(reader.wait_for(400ms), std::future_status::timeout) << "no time-out: it waits";
    guest.Close();
    EXPECT_EQ(reader.get(), EBADF);
}

TEST_P(PcapTap, NeighboursAreFoundByAnExchange) {
    EXPECT_EQ(AskMac(*m_library, -1, kAdapter), kAdapterMac);
    EXPECT_TRUE(AskMac(*m_library, -1, kPeer).IsZero()) << "not the host's own";
    EXPECT_EQ(AskIp(*m_library, -1, kAdapterMac), kAdapter);
    LibraryGuest& guest = Open(m_options);
    EXPECT_EQ(guest.AskMac(kPeer), kPeerMac) << "on the thread that reads";
    EXPECT_EQ(AskIp(*m_library, guest.Handle(), kPeerMac), kPeer);
    ASSERT_TRUE(Peer("ip addr add 10.79.0.3/24 dev vt1"));
    auto reader = std::async(std::launch::async, [&] { return guest.Read(); });
    EXPECT_EQ(guest.AskMac(Ipv4Address(10, 79, 0, 3)), kPeerMac) << "beside a thread that reads";
    EXPECT_TRUE(reader.get().empty()) << "the answers to the library's questions are its own";
    const auto start = Clock::now();
    EXPECT_TRUE(guest.AskMac(kNobody).IsZero());
    const auto exchange = Clock::now() - start;
    EXPECT_TRUE(exchange >= 140ms && exchange < 1s);
    EXPECT_TRUE(guest.AskMac(kNobody).IsZero());
    EXPECT_LT(Clock::now() - start - exchange, 100ms) << "silence is remembered";
}

TEST_P(PcapTap, TheNotifySocketTellsOfFramesAndOfTheAdaptersEnd) {
    m_options.socketNotify = true;
    LibraryGuest& guest = Open(m_options);
    EXPECT_FALSE(Readable(guest, 50));
    EXPECT_TRUE(guest.Read().empty()) << "never waits";
    for (int round = 0; round < 50; ++round) {
        Put(Frame(guest.Mac(), kStranger, 0x4321, 60));
        Put(Frame(guest.Mac(), kStranger, 0x4321, 61));
        // The second may arrive after the first was read and the socket asked again.
        for (int got = 0; got < 2;) {
            ASSERT_TRUE(Readable(guest, 5000)) << round;
            while (!guest.Read().empty()) {
                ++got;
            }
        }
    }
    ASSERT_TRUE(Shell("ip link del vt0"));
    EXPECT_TRUE(Readable(guest, 3000)) << "the waiter is woken too";
    EXPECT_EQ(EndOfReads(guest), ENODEV);
}

TEST_P(PcapTun, EveryKindOfDestinationGetsItsMac) {
    Open(m_options);
    const auto macTo = [&](Ipv4Address destination) {
        EXPECT_GT(m_guest->Ping(destination, 1), 0);
        const Bytes frame = Seen(kEtherTypeIpv4, destination);
        return frame.empty() ? MacAddress() : LoadMac(&frame[0]);
    };
    ASSERT_TRUE(Shell("ip route add 10.99.0.0/24 via 10.79.0.2 dev vt0"));
    for (const auto& [destination, mac] :
         {std::pair{kPeer, kPeerMac}, // kept until the answer came, then sent
          {Ipv4Address(255, 255, 255, 255), MacAddress::Broadcast()},
          {Ipv4Address(10, 79, 0, 255), MacAddress::Broadcast()},
          {Ipv4Address(239, 129, 2, 3), MacAddress({0x01, 0x00, 0x5E, 0x01, 0x02, 0x03})},
          {Ipv4Address(10, 99, 0, 7), kPeerMac}}) { // the gateway of the host's route through this adapter
        EXPECT_EQ(macTo(destination), mac);
    }
    // Without a subnet of its own the guest uses the adapter's.
    m_options.mask = Ipv4Address(255, 255, 255, 255);
    Open(m_options);
    EXPECT_EQ(macTo(kPeer), kPeerMac);
}

TEST_P(PcapTun, PaddingOtherTypesAndASilentHost) {
    LibraryGuest& guest = Open(m_options);
    const Bytes packet = Request(kPeer, kGuest);
    Bytes frame = EthernetFrame(guest.Mac(), kPeerMac, kEtherTypeIpv4, packet);
    frame.resize(60);
    Put(frame);
    EXPECT_EQ(guest.Read(), packet);
    StoreBe16(&frame[12], 0x86DD);
    Put(frame);
    EXPECT_TRUE(guest.Read().empty());
    EXPECT_EQ(guest.Statistics().ignored, 1);
    const auto start = Clock::now();
    for (std::uint16_t n = 0; n < 10; ++n) {
        EXPECT_GT(guest.Ping(kNobody, n), 0);
    }
    EXPECT_LT(Clock::now() - start, 140ms) << "a write does not wait for the answer";
    EXPECT_TRUE(guest.Read().empty()); // 250 ms: the exchange is over
    EXPECT_EQ(guest.Statistics().ignored, 11);
    EXPECT_GT(guest.Ping(kNobody, 10), 0);
    const auto statistics = guest.Statistics();
    EXPECT_EQ(statistics.ignored, 12) << "silence is remembered";
    EXPECT_EQ(statistics.writeCalls, 11);
    EXPECT_EQ(statistics.packetsWritten, 2) << "the question, twice";
}

} // namespace
} // namespace vnxtest
