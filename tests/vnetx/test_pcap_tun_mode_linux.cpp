// The `pcap` library in TUN mode over a real veth pair: ARP and next hops are the library's own.
#include <cerrno>

#include "veth_lab.h"

namespace vnxtest {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// A bare UDP packet from the guest with `data` bytes.
std::vector<std::uint8_t> Packet(Ipv4Address destination, std::size_t data = 8) {
    std::vector<std::uint8_t> packet(28 + data, 0);
    packet[0] = 0x45;
    StoreBe16(&packet[2], static_cast<std::uint16_t>(packet.size()));
    packet[8] = 64;
    packet[9] = 17;
    StoreIpv4(&packet[12], VethLab::kGuest);
    StoreIpv4(&packet[16], destination);
    StoreBe16(&packet[10], InetChecksum(packet.data(), 20));
    StoreBe16(&packet[22], 9);
    StoreBe16(&packet[24], static_cast<std::uint16_t>(8 + data));
    return packet;
}

class PcapTunMode : public testing::Test {
protected:
    void SetUp() override { VNXTEST_SKIP_WITHOUT_LAB(m_lab); }
    void OpenUp(Ipv4Address mask = Ipv4Address(255, 255, 255, 0)) {
        ASSERT_TRUE(m_guest.Open(false, false, VethLab::kAdapterText, mask)) << errno;
        ASSERT_TRUE(m_guest.Up()) << errno;
        m_wire = m_lab.RawPeer();
        ASSERT_GE(m_wire, 0);
    }
    void TearDown() override {
        if (m_wire >= 0) {
            close(m_wire);
        }
    }
    // Reads, as the program's thread does, until the other end has seen a packet to `destination`.
    // The MAC it was sent to; zero when none came.
    MacAddress MacOfPacketTo(Ipv4Address destination) {
        std::uint8_t frame[2048];
        for (const auto end = Clock::now() + 1s; Clock::now() < end;) {
            m_guest.SetValue(VNETX_VNXSTIMEOUT, 5);
            m_guest.Read();
            for (ssize_t got = 0; (got = recv(m_wire, frame, sizeof frame, MSG_DONTWAIT)) > 0;) {
                if (got >= 34 && LoadBe16(frame + 12) == kEtherTypeIpv4 &&
                    LoadIpv4(frame + 30) == destination) {
                    EXPECT_EQ(LoadMac(frame + 6), m_guest.Mac());
                    return LoadMac(frame);
                }
            }
        }
        return {};
    }

    VethLab m_lab;
    std::unique_ptr<VnetxLibrary> m_library = MakePcapLibrary();
    GuestHandle m_guest{*m_library};
    int m_wire = -1;
};

TEST_F(PcapTunMode, TheKernelFindsAndPingsTheGuest) {
    OpenUp();
    EchoGuest echo(*m_library, m_guest, false);
    EXPECT_EQ(m_lab.Peer("ping -M dont -q -c 20 -i 0.01 -w 5 10.79.0.50"), 0);
    EXPECT_EQ(m_lab.Peer("ping -M dont -q -c 2 -i 0.01 -w 5 -s 1472 10.79.0.50"), 0);
    EXPECT_EQ(m_lab.Peer("ping -M dont -q -c 2 -i 0.01 -w 5 -s 1 10.79.0.50"), 0) << "padded frames";
    echo.Stop();
    EXPECT_EQ(echo.Failure(), 0);
    const auto statistics = m_guest.Statistics();
    EXPECT_GE(statistics.internalArps, 1);
    EXPECT_EQ(statistics.packetsRead, 24 + statistics.internalArps + statistics.ignored);
    EXPECT_EQ(statistics.packetsWritten, 24 + statistics.internalArps);
}

TEST_F(PcapTunMode, PaddingIsNoPartOfAPacket) {
    OpenUp();
    std::vector<std::uint8_t> frame(60, 0);
    BuildEthernetHeader(frame.data(), {m_guest.Mac(), m_lab.PeerMac(), kEtherTypeIpv4});
    const auto packet = Packet(VethLab::kGuest, 1);
    std::copy(packet.begin(), packet.end(), frame.begin() + 14);
    ASSERT_EQ(send(m_wire, frame.data(), frame.size(), 0), 60);
    EXPECT_EQ(m_guest.Read(), 29);
    EXPECT_EQ(m_guest.frame, packet);
    StoreBe16(frame.data() + 12, 0x86DD);
    ASSERT_EQ(send(m_wire, frame.data(), frame.size(), 0), 60);
    EXPECT_EQ(m_guest.Read(), 0);
    EXPECT_EQ(m_guest.Statistics().ignored, 1);
}

TEST_F(PcapTunMode, EveryKindOfDestinationGetsItsMac) {
    OpenUp();
    const auto macTo = [&](Ipv4Address destination) {
        const auto packet = Packet(destination);
        EXPECT_EQ(m_guest.Write(packet), static_cast<std::int32_t>(packet.size()));
        return MacOfPacketTo(destination);
    };
    EXPECT_EQ(macTo(VethLab::kPeer), m_lab.PeerMac()) << "kept until the answer came, then sent";
    EXPECT_EQ(macTo(VethLab::kPeer), m_lab.PeerMac());
    EXPECT_EQ(macTo(Ipv4Address(255, 255, 255, 255)), MacAddress::Broadcast());
    EXPECT_EQ(macTo(Ipv4Address(10, 79, 0, 255)), MacAddress::Broadcast());
    EXPECT_EQ(macTo(Ipv4Address(239, 129, 2, 3)), MacAddress({0x01, 0x00, 0x5E, 0x01, 0x02, 0x03}));
    // Off the subnet: the gateway of the host's route through this adapter.
    ASSERT_EQ(Shell("ip route add 10.99.0.0/24 via 10.79.0.2 dev vt0"), 0);
    EXPECT_EQ(macTo(Ipv4Address(10, 99, 0, 7)), m_lab.PeerMac());
    // A change of the route is seen.
    ASSERT_EQ(m_lab.Peer("ip link add vt2 link vt1 type macvlan mode bridge && ip link set vt2 address "
                         "02:00:00:00:00:33 && ip addr add 10.79.0.3/24 dev vt2 && ip link set vt2 up && "
                         "sysctl -qw net.ipv4.conf.all.arp_ignore=1"),
              0);
    ASSERT_EQ(Shell("ip route replace 10.99.0.0/24 via 10.79.0.3 dev vt0"), 0);
    std::this_thread::sleep_for(1100ms);
    EXPECT_EQ(macTo(Ipv4Address(10, 99, 0, 7)), MacAddress({2, 0, 0, 0, 0, 0x33}));
    EXPECT_EQ(m_guest.Statistics().ignored, 0);
}

TEST_F(PcapTunMode, WithoutASubnetOfItsOwnTheGuestUsesTheAdapters) {
    OpenUp(Ipv4Address(255, 255, 255, 255));
    const auto packet = Packet(VethLab::kPeer);
    EXPECT_EQ(m_guest.Write(packet), static_cast<std::int32_t>(packet.size()));
    EXPECT_EQ(MacOfPacketTo(VethLab::kPeer), m_lab.PeerMac());
}

TEST_F(PcapTunMode, ASilentHostCostsPacketsAndNoErrors) {
    OpenUp();
    const auto packet = Packet(Ipv4Address(10, 79, 0, 200));
    const auto start = Clock::now();
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(m_guest.Write(packet), static_cast<std::int32_t>(packet.size()));
    }
    EXPECT_LT(Clock::now() - start, 100ms) << "a write does not wait for the answer";
    EXPECT_EQ(m_guest.Statistics().ignored, 0);
    EXPECT_EQ(m_guest.Read(), 0); // 250 ms: the exchange is over
    EXPECT_EQ(m_guest.Statistics().ignored, 10);
    EXPECT_EQ(m_guest.Write(packet), static_cast<std::int32_t>(packet.size()));
    const auto statistics = m_guest.Statistics();
    EXPECT_EQ(statistics.ignored, 11) << "silence is remembered";
    EXPECT_EQ(statistics.writeCalls, 11);
    EXPECT_EQ(statistics.packetsWritten, 2) << "the question, twice";
}

TEST_F(PcapTunMode, WhatIsNoPacketOrTooLongIsRefused) {
    OpenUp();
    EXPECT_EQ(m_guest.Write(Packet(VethLab::kPeer, 1473)), -1);
    EXPECT_EQ(errno, EMSGSIZE);
    EXPECT_EQ(m_guest.Write(std::vector<std::uint8_t>(19, 0x45)), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(m_guest.Write(std::vector<std::uint8_t>(40, 0x65)), -1);
    EXPECT_EQ(errno, EINVAL);
}

} // namespace
} // namespace vnxtest
