// The `pcap` library over a real veth pair.
#include <pcap.h>

#include "vnetx/guest_mac.h"
#include "vnetx/pcap_api.h"
#include "vnetx/veth_lab.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

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

class Pcap : public VethTest {
protected:
    Pcap() : VethTest(MakePcapLibrary()) {}
};

TEST_F(Pcap, FramesAreDeliveredCountedOrLeftOutByTheirAddresses) {
    OpenUp(true);
    EXPECT_EQ(m_mac, BuildGuestMac(VethLab::kGuest));
    Put(Frame(m_mac, kStranger, 0x86DD, 60));
    EXPECT_EQ(m_guest.Read(), 60);
    Put(Frame(MacAddress({0x01, 0, 0x5E, 0, 0, 1}), kStranger, 0x0800, 1514));
    EXPECT_EQ(m_guest.Read(), 1514);
    Put(Frame(m_mac, MacAddress(), 0x0800, 61));
    EXPECT_EQ(m_guest.Read(), 61);
    Put(Frame(kStranger, VethLab::kPeerMac, 0x0800, 62)); // not for us: the kernel leaves it out
    Put(Frame(MacAddress(), kStranger, 0x0800, 63));
    Put(Frame(MacAddress::Broadcast(), m_mac, 0x0800, 64)); // a reflection of our own
    EXPECT_EQ(m_guest.Read(), 0);
    // Longer than a frame could be when the handle was opened: counted, never delivered cut.
    ASSERT_EQ(Shell("ip link set vt0 mtu 9000"), 0);
    ASSERT_EQ(m_lab.Peer("ip link set vt1 mtu 9000"), 0);
    Put(Frame(m_mac, kStranger, 0x0800, 4000));
    EXPECT_EQ(m_guest.Read(), 0);
    const auto statistics = m_guest.Statistics();
    EXPECT_EQ(statistics.packetsRead, 6);
    EXPECT_EQ(statistics.bytesRead, 60 + 1514 + 61 + 63 + 64 + 4000);
    EXPECT_EQ(statistics.fromZeroMacRead, 1);
    EXPECT_EQ(statistics.toZeroMacRead, 1);
    EXPECT_EQ(statistics.fromOurself, 1);
    EXPECT_EQ(statistics.ignored, 2);
    EXPECT_EQ(statistics.readCalls, 5);
    EXPECT_EQ(statistics.kernelBufferSize, 1048576u);
    EXPECT_EQ(statistics.ioBufferSize, 65536u);
    // A buffer that is too small gets an error, not a piece.
    Put(Frame(m_mac, kStranger, 0x0800, 100));
    EXPECT_TRUE(Fails(m_library->Read(m_guest.handle, m_guest.frame.data(), 50), EMSGSIZE));
}

TEST_F(Pcap, WritesGoOutWholeOrNotAtAll) {
    const auto whole = Frame(VethLab::kPeerMac, kStranger, 0x1234, 1514);
    ASSERT_TRUE(Open(true));
    EXPECT_TRUE(Fails(m_guest.Write(whole), ENETDOWN)) << "not up yet";
    m_guest.Close();
    OpenUp(true);
    EXPECT_EQ(m_guest.Write(whole), 1514);
    EXPECT_EQ(Seen([](const Bytes& frame) { return LoadBe16(&frame[12]) == 0x1234; }), whole);
    EXPECT_TRUE(Fails(m_guest.Write(Frame(VethLab::kPeerMac, kStranger, 0x1234, 1515)), EMSGSIZE));
    EXPECT_TRUE(Fails(m_guest.Write(Bytes(13)), EINVAL));
    EXPECT_EQ(m_guest.Write(Frame(MacAddress(), MacAddress(), 0x1235, 60)), 60);
    const auto statistics = m_guest.Statistics();
    EXPECT_EQ(statistics.writeCalls, 4);
    EXPECT_EQ(statistics.writeIos, 2);
    EXPECT_EQ(statistics.packetsWritten, 2);
    EXPECT_EQ(statistics.bytesWritten, 1514 + 60);
    EXPECT_EQ(statistics.toZeroMacWritten, 1);
    EXPECT_EQ(statistics.fromZeroMacWritten, 1);
}

TEST_F(Pcap, OpeningTheSizesAndTheTimesAreTheAdaptersAndTheHandles) {
    EXPECT_TRUE(Fails(m_library->Open("10.79.0.9", VNETX_OPEN_READ_WRITE), ENODEV));
    EXPECT_TRUE(Fails(m_library->Open("02-00-00-00-00-99", VNETX_OPEN_READ_WRITE), ENODEV));
    ASSERT_TRUE(m_guest.Open("02-00-00-00-00-01", {.tap = true})) << "by the adapter's MAC as well";
    EXPECT_TRUE(Fails(m_guest.SetValue(VNETX_SIOCSIFMTU, 1501), EINVAL)) << "more than the adapter carries";
    // A small device buffer is a small one, from the start on.
    ASSERT_EQ(m_guest.SetValue(VNETX_VNXSDEVBUFF, 64 * 1024), 0);
    ASSERT_TRUE(m_guest.Up());
    EXPECT_TRUE(Fails(m_guest.SetValue(VNETX_VNXSDEVBUFF, 64 * 1024), EBUSY));
    for (int i = 0; i < 500; ++i) {
        Put(Frame(m_guest.Mac(), kStranger, 0x4321, 60));
    }
    int got = 0;
    for (; m_guest.Read() == 60; ++got) {
    }
    EXPECT_TRUE(got > 20 && got < 100) << got;
    const auto start = Clock::now();
    EXPECT_EQ(m_guest.Read(), 0);
    EXPECT_TRUE(Clock::now() - start >= 245ms && Clock::now() - start < 600ms);
    m_guest.ExpectCloseEndsARead();
}

TEST_F(Pcap, TheNotifySocketTellsOfFramesAndOfShutdown) {
    OpenUp(true, true);
    EXPECT_FALSE(Readable(m_guest.handle, 50));
    EXPECT_EQ(m_guest.Read(), 0) << "never waits";
    for (int round = 0; round < 50; ++round) {
        Put(Frame(m_mac, kStranger, 0x4321, 60));
        Put(Frame(m_mac, kStranger, 0x4321, 61));
        // The second may arrive after the first was read and the socket asked again.
        for (int got = 0; got<2; got += m_guest.Read()> 0) {
            ASSERT_TRUE(Readable(m_guest.handle, 1000)) << round;
        }
        EXPECT_EQ(m_guest.Read(), 0);
    }
    auto waiter = std::async(std::launch::async, [&] { return Readable(m_guest.handle, 5000); });
    std::this_thread::sleep_for(20ms);
    shutdown(m_guest.handle, SHUT_RDWR);
    EXPECT_TRUE(waiter.get());
    EXPECT_EQ(m_guest.Read(), 0) << "an end, no error";
}

TEST_F(Pcap, NeighboursAreFoundByAnExchange) {
    EXPECT_EQ(m_guest.Arp(VethLab::kAdapter), VethLab::kAdapterMac)
        << "without a handle: the host's own only";
    EXPECT_TRUE(m_guest.Arp(VethLab::kPeer).IsZero() && errno == ENXIO);
    EXPECT_EQ(m_guest.ReverseArp(VethLab::kAdapterMac), VethLab::kAdapter);

    OpenUp(true);
    EXPECT_EQ(m_guest.Arp(VethLab::kPeer), VethLab::kPeerMac) << "on the thread that reads";
    EXPECT_EQ(m_guest.ReverseArp(VethLab::kPeerMac), VethLab::kPeer);
    ASSERT_EQ(m_lab.Peer("ip addr add 10.79.0.3/24 dev vt1"), 0);
    std::atomic<bool> stop{false};
    std::thread reading([&] {
        while (!stop) {
            m_guest.Read();
        }
    });
    EXPECT_EQ(m_guest.Arp(Ipv4Address(10, 79, 0, 3)), VethLab::kPeerMac) << "beside a thread that reads";
    const auto start = Clock::now();
    EXPECT_TRUE(m_guest.Arp(Ipv4Address(10, 79, 0, 200)).IsZero());
    EXPECT_GE(Clock::now() - start, 140ms);
    EXPECT_TRUE(m_guest.Arp(Ipv4Address(10, 79, 0, 200)).IsZero());
    EXPECT_LT(Clock::now() - start, 400ms) << "silence is remembered";
    stop = true;
    reading.join();
    // The answers to the library's questions are its own: none of them is delivered.
    EXPECT_GE(m_guest.Statistics().internalArps, 1);
}

TEST_F(Pcap, AnAdapterThatGoesDownOrAwayEndsTheRead) {
    OpenUp(true);
    ASSERT_EQ(Shell("ip link set vt0 down"), 0);
    ExpectTheReaderIsTold(ENETDOWN, false);
    EXPECT_TRUE(Fails(m_guest.Write(Frame(VethLab::kPeerMac, m_mac, 0x0800, 60)), ENETDOWN));
    m_guest.Close();
    EXPECT_TRUE(!Open(true) && errno == ENETDOWN);
    ASSERT_EQ(Shell("ip link set vt0 up"), 0);
    OpenUp(true, true);
    ASSERT_EQ(Shell("ip link del vt0"), 0);
    ExpectTheReaderIsTold(ENODEV, true);
}

// A bare IP packet from the guest with `data` bytes behind 28.
Bytes Packet(Ipv4Address destination, std::size_t data = 8) {
    Bytes packet(28 + data, 0);
    packet[0] = 0x45;
    StoreBe16(&packet[2], static_cast<std::uint16_t>(packet.size()));
    StoreIpv4(&packet[12], VethLab::kGuest);
    StoreIpv4(&packet[16], destination);
    return packet;
}

// In TUN mode ARP and next hops are the library's own.
class PcapTunMode : public VethTest {
protected:
    PcapTunMode() : VethTest(MakePcapLibrary()) {}

    // Writes a packet: the MAC to which it is sent, as the other end sees it; zero when it never comes.
    MacAddress MacTo(Ipv4Address destination) {
        EXPECT_EQ(m_guest.Write(Packet(destination)), 36);
        const Bytes frame = Seen([&](const Bytes& seen) {
            return LoadBe16(&seen[12]) == kEtherTypeIpv4 && LoadIpv4(&seen[30]) == destination;
        });
        EXPECT_TRUE(frame.empty() || LoadMac(&frame[6]) == m_mac);
        return frame.empty() ? MacAddress() : LoadMac(frame.data());
    }
};

TEST_F(PcapTunMode, PaddingIsNoPartOfAPacket) {
    OpenUp(false);
    auto frame = Frame(m_mac, VethLab::kPeerMac, kEtherTypeIpv4, 60);
    const auto packet = Packet(VethLab::kGuest, 1);
    std::copy(packet.begin(), packet.end(), frame.begin() + 14);
    Put(frame);
    EXPECT_EQ(m_guest.Read(), 29);
    EXPECT_EQ(m_guest.frame, packet);
    StoreBe16(frame.data() + 12, 0x86DD);
    Put(frame);
    EXPECT_EQ(m_guest.Read(), 0);
    EXPECT_EQ(m_guest.Statistics().ignored, 1);
    // What is no packet, or too long, is refused.
    EXPECT_TRUE(Fails(m_guest.Write(Packet(VethLab::kPeer, 1473)), EMSGSIZE));
    EXPECT_TRUE(Fails(m_guest.Write(Bytes(19, 0x45)), EINVAL));
    EXPECT_TRUE(Fails(m_guest.Write(Bytes(40, 0x65)), EINVAL));
}

TEST_F(PcapTunMode, EveryKindOfDestinationGetsItsMac) {
    OpenUp(false);
    ASSERT_EQ(m_guest.SetAddress(VNETX_SIOCSIFNETMASK, Ipv4Address(255, 255, 255, 0)), 0);
    EXPECT_EQ(MacTo(VethLab::kPeer), VethLab::kPeerMac) << "kept until the answer came, then sent";
    EXPECT_EQ(MacTo(VethLab::kPeer), VethLab::kPeerMac);
    EXPECT_EQ(MacTo(Ipv4Address(255, 255, 255, 255)), MacAddress::Broadcast());
    EXPECT_EQ(MacTo(Ipv4Address(10, 79, 0, 255)), MacAddress::Broadcast());
    EXPECT_EQ(MacTo(Ipv4Address(239, 129, 2, 3)), MacAddress({0x01, 0x00, 0x5E, 0x01, 0x02, 0x03}));
    // Off the subnet: the gateway of the host's route through this adapter.
    ASSERT_EQ(Shell("ip route add 10.99.0.0/24 via 10.79.0.2 dev vt0"), 0);
    EXPECT_EQ(MacTo(Ipv4Address(10, 99, 0, 7)), VethLab::kPeerMac);
    // A change of the route is seen.
    ASSERT_EQ(m_lab.Peer("ip link add vt2 link vt1 type macvlan mode bridge && ip link set vt2 address "
                         "02:00:00:00:00:33 && ip addr add 10.79.0.3/24 dev vt2 && ip link set vt2 up && "
                         "sysctl -qw net.ipv4.conf.all.arp_ignore=1"),
              0);
    ASSERT_EQ(Shell("ip route replace 10.99.0.0/24 via 10.79.0.3 dev vt0"), 0);
    std::this_thread::sleep_for(1100ms);
    EXPECT_EQ(MacTo(Ipv4Address(10, 99, 0, 7)), MacAddress({2, 0, 0, 0, 0, 0x33}));
    EXPECT_EQ(m_guest.Statistics().ignored, 0);
    // Without a subnet of its own the guest uses the adapter's.
    ASSERT_EQ(m_guest.SetAddress(VNETX_SIOCSIFNETMASK, Ipv4Address(255, 255, 255, 255)), 0);
    EXPECT_EQ(MacTo(VethLab::kPeer), VethLab::kPeerMac);
}

TEST_F(PcapTunMode, ASilentHostCostsPacketsAndNoErrors) {
    OpenUp(false);
    const auto packet = Packet(Ipv4Address(10, 79, 0, 200));
    const auto start = Clock::now();
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(m_guest.Write(packet), 36);
    }
    EXPECT_LT(Clock::now() - start, 100ms) << "a write does not wait for the answer";
    EXPECT_EQ(m_guest.Statistics().ignored, 0);
    EXPECT_EQ(m_guest.Read(), 0); // 250 ms: the exchange is over
    EXPECT_EQ(m_guest.Statistics().ignored, 10);
    EXPECT_EQ(m_guest.Write(packet), 36);
    const auto statistics = m_guest.Statistics();
    EXPECT_EQ(statistics.ignored, 11) << "silence is remembered";
    EXPECT_EQ(statistics.writeCalls, 11);
    EXPECT_EQ(statistics.packetsWritten, 2) << "the question, twice";
}

} // namespace
} // namespace vnxtest
