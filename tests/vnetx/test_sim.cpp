// The simulated LAN as a guest sees it: who answers what, and how the interface behaves.

#include "vnetx/sim_guest.h"

namespace vnxtest {

namespace {

class SimModes : public ::testing::TestWithParam<bool> {};

INSTANTIATE_TEST_SUITE_P(Sim, SimModes, ::testing::Bool(),
                         [](const auto& mode) { return mode.param ? "Tap" : "Tun"; });

TEST_P(SimModes, WhoAnswersAndWhoStaysSilent) {
    const auto lan = Lan();
    SimGuest guest(*lan, {.tap = GetParam(), .timeout = 20});
    int sequence = 0;
    for (const Ipv4Address target : {kSimFirstEchoHost, kSimLastEchoHost, kSimGatewayIp, kSimAdapterIp,
                                     Ipv4Address(192, 0, 2, 9), Ipv4Address(10, 1, 2, 3)}) {
        ASSERT_GT(guest.Ping(target, ++sequence, 5), 0);
        const Bytes packet = guest.ReadPacket();
        SimEcho echo;
        ASSERT_EQ(ParseSimEcho(packet, echo), SimEchoCheck::Good) << sequence;
        EXPECT_EQ(packet.size(), 33u);
        EXPECT_EQ(packet[8], SimOnLan(target) ? 64 : 57);
        EXPECT_EQ(echo.source, target);
        EXPECT_EQ(echo.data[4], 'a' + sequence);
    }
    // A write to nobody succeeds: only the answer is missing.
    for (const Ipv4Address target :
         {kSimSilentHost, Ipv4Address(198, 18, 0, 100), Ipv4Address(203, 0, 113, 5)}) {
        EXPECT_GT(guest.Ping(target, 1), 0);
    }
    EXPECT_TRUE(guest.ReadPacket().empty());
    EXPECT_TRUE(guest.Arp(kSimSilentHost).IsZero());
    EXPECT_EQ(lan->Counters().echoRequests, 6u);
    // On a TUN interface the library finds no neighbour for those of the LAN.
    EXPECT_EQ(lan->Counters().silentRequests, GetParam() ? 3u : 1u);
    EXPECT_EQ(guest.Statistics().ignored, GetParam() ? 0 : 2);
}

TEST_P(SimModes, TheTwoGuestsReachEachOtherAcrossTheGatewayToo) {
    for (const Ipv4Address other : {kSecondGuest, Ipv4Address(10, 7, 7, 7)}) {
        const auto lan = Lan();
        SimGuest first(*lan, {.tap = GetParam()});
        SimGuest second(*lan, {.tap = other == kSecondGuest, .ip = other});
        ASSERT_GT(first.Write(first.Framed(kSimGatewayMac, first.Echo(kIcmpEchoRequest, other, 7))), 0);
        const Bytes got = second.ReadPacket();
        SimEcho echo;
        ASSERT_EQ(ParseSimEcho(got, echo), SimEchoCheck::Good);
        EXPECT_EQ(got[8], GetParam() ? 63 : 64) << "one hop from a TAP guest, which chose the gateway";
        ASSERT_GT(second.SendPacket(kFirstGuest, second.Echo(kIcmpEchoReply, kFirstGuest, 7)), 0);
        EXPECT_EQ(first.ReadReplies().answered, 1);
    }
}

TEST_P(SimModes, BadPacketsGetNoAnswer) {
    const auto lan = Lan();
    SimGuest guest(*lan, {.tap = GetParam(), .timeout = 20});
    for (const auto& [offset, value] : {std::pair{8u, 63}, {3u, 200}, {24u, 1}, {6u, 0x20}, {0u, 0x46}}) {
        Bytes packet = guest.Echo(kIcmpEchoRequest, kSimFirstEchoHost, 1);
        packet[offset] = static_cast<std::uint8_t>(value);
        ASSERT_GT(guest.SendPacket(kSimFirstEchoHost, packet), 0);
    }
    EXPECT_TRUE(guest.ReadPacket().empty());
    EXPECT_EQ(lan->Counters().badPackets, 5u);
}

TEST_P(SimModes, StatisticsAreTrue) {
    const auto lan = Lan();
    SimGuest guest(*lan, {.tap = GetParam(), .timeout = 10});
    for (int i = 1; i <= 10; ++i) {
        guest.Ping(kSimFirstEchoHost, i, 8);
    }
    EXPECT_EQ(guest.ReadReplies().answered, 10);
    const VnetxStatistics stats = guest.Statistics();
    // Ten pings of 50 bytes each way, and one ARP question with its answer.
    EXPECT_EQ(stats.packetsWritten, 11);
    EXPECT_EQ(stats.bytesWritten, 10 * 50 + 42);
    EXPECT_EQ(stats.packetsRead, 11);
    EXPECT_EQ(stats.bytesRead, 10 * 50 + 42);
    EXPECT_EQ(stats.internalArps, GetParam() ? 0 : 1);
    EXPECT_EQ(stats.writeCalls, GetParam() ? 11 : 10);
    EXPECT_EQ(stats.readCalls, GetParam() ? 12 : 11);
    EXPECT_EQ(stats.ignored + stats.fromOurself, 0);
}

TEST(Sim, StationsAskForTheGuestsMacAndOnlyTheGatewayForwards) {
    const auto lan = Lan();
    SimGuest guest(*lan, {.tap = true, .timeout = 20});
    guest.Ping(kSimFirstEchoHost, 1);
    guest.Ping(kSimFirstEchoHost, 2);
    ASSERT_EQ(guest.ReadFrame().size(), kArpFrameLength);
    const auto arp = ParseArp(std::span(guest.frame).subspan(kEthernetHeaderLength)).value();
    EXPECT_EQ(arp.operation, kArpRequest);
    EXPECT_EQ(arp.senderIp, kSimFirstEchoHost);
    EXPECT_EQ(arp.targetIp, kFirstGuest);
    EXPECT_TRUE(guest.ReadFrame().empty()) << "no reply before the answer, no second question at once";
    EXPECT_EQ(lan->Counters().repliesHeld, 2u);
    guest.AnswerArp(arp);
    EXPECT_EQ(guest.ReadReplies().order, (std::vector<int>{1, 2}));
    // A station answers the guest's own question; the silent one does not.
    const MacAddress mac = guest.Mac();
    for (const Ipv4Address ip : {kSimSilentHost, kSimGatewayIp}) {
        guest.Write(BuildArpFrame(MacAddress::Broadcast(), mac, {kArpRequest, mac, kFirstGuest, {}, ip}));
    }
    const auto answer =
        BuildArpFrame(mac, kSimGatewayMac, {kArpReply, kSimGatewayMac, kSimGatewayIp, mac, kFirstGuest});
    EXPECT_TRUE(std::ranges::equal(guest.ReadFrame(), answer));
    for (const MacAddress wrong : {kSimAdapterMac, SimStationMac(5), MacAddress({2, 9, 9, 9, 9, 9})}) {
        guest.Write(guest.Framed(wrong, guest.Echo(kIcmpEchoRequest, Ipv4Address(10, 0, 0, 1), 1)));
    }
    EXPECT_TRUE(guest.ReadFrame().empty());
    EXPECT_EQ(lan->Counters().undeliverable, 3u);
}

// The requests behave alike in all built-in libraries.
TEST(Sim, WrongRequestsAreRefusedAndRightOnesHold) {
    const auto lan = Lan();
    EXPECT_TRUE(Fails(lan->Open("eth0", VNETX_OPEN_READ_WRITE), ENODEV));
    EXPECT_TRUE(Fails(lan->Open("198.18.0.1", 0), EINVAL));
    GuestHandle guest(*lan);
    EXPECT_TRUE(Fails(guest.SetMode(0), EBADF));
    EXPECT_TRUE(Fails(guest.Read(), EBADF));
    guest.handle = lan->Open("02:56:4e:12:00:01", VNETX_OPEN_READ_WRITE);
    ASSERT_GE(guest.handle, 0);
    EXPECT_TRUE(Fails(guest.SetFlags(VNETX_IFF_UP), ENODEV)) << "nothing is set without a mode";
    for (const int flags : {0x0000, 0x0001, 0x0002, 0x1000, 0x1003, 0x5002}) {
        EXPECT_TRUE(Fails(guest.SetMode(flags), EINVAL)) << flags;
    }
    ASSERT_EQ(guest.SetFlags(VNETX_IFF_TAP | VNETX_IFF_NO_PI, VNETX_TUNSETIFF_OLD), 0);
    EXPECT_TRUE(Fails(guest.SetMode(VNETX_IFF_TAP | VNETX_IFF_NO_PI), EINVAL)) << "twice";
    EXPECT_TRUE(Fails(guest.SetFlags(VNETX_IFF_UP), EADDRNOTAVAIL)) << "no guest address and no MAC";
    EXPECT_TRUE(Fails(guest.SetAddress(VNETX_SIOCSIFNETMASK, Ipv4Address(255, 0, 255, 0)), EINVAL));
    EXPECT_TRUE(Fails(lan->Ioctl(guest.handle, VNETX_SIOCSIFMTU, nullptr), EINVAL));
    EXPECT_TRUE(Fails(guest.SetValue(VNETX_SIOCSIFADDR, 10), EAFNOSUPPORT));
    EXPECT_TRUE(Fails(guest.SetValue(VNETX_SIOCSIFMTU, 45), EINVAL));
    EXPECT_TRUE(Fails(guest.SetValue(VNETX_VNXSDEVBUFF, 0), EINVAL));
    EXPECT_TRUE(Fails(guest.SetValue(VNETX_VNXSTIMEOUT, 0x80000000), EINVAL));
    VnetxInterfaceRequest mac{};
    mac.u.hardware.family = VNETX_ARPHRD_ETHER;
    mac.u.hardware.mac[0] = 0x01;
    EXPECT_TRUE(Fails(guest.Ioctl(VNETX_SIOCSIFHWADDR, mac), EADDRNOTAVAIL)) << "a group's";
    mac.u.hardware.mac[0] = 0x02;
    EXPECT_EQ(guest.Ioctl(VNETX_SIOCSIFHWADDR, mac), 0);
    EXPECT_EQ(guest.Mac(), MacAddress({2, 0, 0, 0, 0, 0}));
    EXPECT_EQ(guest.SetValue(VNETX_SIOCSIFMTU, 1000), 0);
    EXPECT_TRUE(guest.Up());
    EXPECT_TRUE(Fails(guest.Write(Bytes(1015)), EMSGSIZE));
    VnetxStatistics record{};
    EXPECT_TRUE(Fails(lan->GetStats(guest.handle, &record), EINVAL)) << "its length was not set";
    guest.name = "foreign";
    EXPECT_TRUE(Fails(guest.SetFlags(VNETX_IFF_UP), ENODEV));
}

TEST(Sim, AReadEndsWithItsTimeOrItsFrameOrTheHandle) {
    const auto lan = Lan(L"delay=60");
    SimGuest guest(*lan, {.timeout = 40});
    const auto start = Clock::now();
    guest.Ping(kSimFirstEchoHost, 1);
    // The first read ends empty at 40 ms, the second has the reply at 60.
    EXPECT_TRUE(guest.ReadFrame().empty());
    EXPECT_GE(Clock::now() - start, 39ms);
    EXPECT_FALSE(guest.ReadFrame().empty());
    EXPECT_GE(Clock::now() - start, 59ms);
    guest.ExpectCloseEndsARead();
}

TEST(Sim, DebugOutputFollowsTheFlags) {
    const auto lan = Lan();
    ASSERT_NE(lan->SetDebugOutputFunc(&TakeDebug), 0);
    SimGuest guest(*lan, {});
    const auto said = [&](std::uint32_t flags) {
        guest.SetValue(VNETX_TUNSETDEBUG, flags);
        g_debugText.clear();
        guest.SetValue(VNETX_VNXSTIMEOUT, 300);
        guest.Ping(kSimFirstEchoHost, 1);
        EXPECT_FALSE(guest.ReadFrame().empty());
        return g_debugText;
    };
    EXPECT_EQ(said(0xFFFFFFFF), "") << "nothing without the debug flag of the interface";
    guest.SetFlags(VNETX_IFF_UP | VNETX_IFF_DEBUG);
    const std::string text = said(VNETX_DEBUG_OTHER_READ | VNETX_DEBUG_OLD_NEW_VALUES);
    EXPECT_NE(text.find("198.18.0.2 > 198.18.0.111"), std::string::npos) << text;
    EXPECT_NE(text.find("VNXSTIMEOUT: old 300, new 300"), std::string::npos) << text;
    EXPECT_EQ(text.find("198.18.0.111 > "), std::string::npos) << "written frames were not asked for";
    EXPECT_EQ(text.find("62 62"), std::string::npos) << "nor contents";
    EXPECT_NE(said(VNETX_DEBUG_OTHER_READ | VNETX_DEBUG_PACKET_CONTENTS).find("62 62"), std::string::npos);
    lan->SetDebugOutputFunc(nullptr);
}

} // namespace

} // namespace vnxtest
