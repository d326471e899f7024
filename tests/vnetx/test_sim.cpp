// The simulated LAN as a guest sees it: who answers what, and how the interface behaves.

#include <array>
#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "vnetx/sim.h"
#include "vnetx/sim_guest.h"

namespace vnxtest {

namespace {

using Clock = std::chrono::steady_clock;

// The Internet checksum written out plainly, to check the library's frames by something else than
// what made them. 0 over bytes that hold their own.
std::uint16_t PlainChecksum(std::span<const std::uint8_t> bytes) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        sum += static_cast<std::uint32_t>(bytes[i]) << (i % 2 == 0 ? 8 : 0);
        sum = (sum & 0xFFFF) + (sum >> 16);
    }
    return static_cast<std::uint16_t>(~sum);
}

class SimModes : public ::testing::TestWithParam<bool> {};

TEST_P(SimModes, EchoHostsGatewayAndTheWorldBehindItAnswer) {
    const auto lan = Lan();
    SimGuest guest(*lan, {.tap = GetParam()});
    std::uint16_t sequence = 0;
    for (const Ipv4Address target : {kSimFirstEchoHost, kSimLastEchoHost, kSimGatewayIp, kSimAdapterIp,
                                     Ipv4Address(192, 0, 2, 9), Ipv4Address(10, 1, 2, 3)}) {
        ASSERT_GT(guest.Ping(target, ++sequence, 5), 0);
        const Bytes packet = guest.ReadPacket();
        ASSERT_EQ(packet.size(), 33u) << sequence;
        EXPECT_EQ(packet[0], 0x45);
        EXPECT_EQ(LoadBe16(&packet[2]), 33);
        EXPECT_EQ(LoadBe16(&packet[6]), 0) << "no fragment, no Don't-Fragment";
        EXPECT_EQ(packet[8], SimOnLan(target) ? 64 : 57);
        EXPECT_EQ(LoadIpv4(&packet[12]), target);
        EXPECT_EQ(LoadIpv4(&packet[16]), kFirstGuest);
        EXPECT_EQ(PlainChecksum(std::span(packet).first(20)), 0);
        EXPECT_EQ(PlainChecksum(std::span(packet).subspan(20)), 0);
        EXPECT_EQ(packet[20], 0);
        EXPECT_EQ(LoadBe16(&packet[26]), sequence);
        EXPECT_EQ(packet[28], 'a' + sequence);
    }
    const SimCounters counters = lan->Counters(0);
    EXPECT_EQ(counters.echoRequests, 6u);
    EXPECT_EQ(counters.answered, 6u);
    EXPECT_EQ(counters.answeredRead, 6u);
    EXPECT_EQ(counters.repliesSent, 6u);
    EXPECT_EQ(counters.badPackets + counters.undeliverable + counters.repliesHeld, 0u);
}

TEST_P(SimModes, SilentAddressesStaySilent) {
    const auto lan = Lan();
    SimGuest guest(*lan, {.tap = GetParam(), .timeout = 20});
    const std::array silent{kSimSilentHost, Ipv4Address(198, 18, 0, 100), Ipv4Address(203, 0, 113, 5),
                            Ipv4Address(198, 18, 0, 253), Ipv4Address(127, 0, 0, 1)};
    for (const Ipv4Address target : silent) {
        // A write to nobody succeeds: only the answer is missing.
        EXPECT_GT(guest.Ping(target, 1), 0);
    }
    EXPECT_TRUE(guest.ReadPacket().empty());
    EXPECT_TRUE(guest.AskMac(kSimSilentHost).IsZero());
    EXPECT_EQ(lan->Counters().echoRequests, 0u);
    if (GetParam()) {
        EXPECT_EQ(lan->Counters().silentRequests, silent.size());
    } else {
        // On a TUN interface the library finds no neighbour for those of the LAN.
        EXPECT_EQ(lan->Counters().silentRequests, 2u);
        EXPECT_EQ(guest.Statistics().ignored, 3);
    }
}

TEST_P(SimModes, TheTwoGuestsReachEachOther) {
    const auto lan = Lan();
    SimGuest first(*lan, {.tap = GetParam()});
    SimGuest second(*lan, {.tap = true, .ip = kSecondGuest});
    ASSERT_GT(first.Ping(kSecondGuest, 7), 0);
    const Bytes request = second.ReadPacket();
    SimEcho echo;
    ASSERT_EQ(ParseSimEcho(request, echo), SimEchoCheck::Good);
    EXPECT_EQ(echo.type, kIcmpEchoRequest);
    EXPECT_EQ(echo.source, kFirstGuest);
    ASSERT_GT(second.SendEcho(kIcmpEchoReply, echo.source, echo.identifier, echo.sequence, echo.data), 0);
    EXPECT_EQ(first.ReadReplies().answered, 1);
}

TEST_P(SimModes, AGuestOfAnotherSubnetIsReachedThroughTheGateway) {
    const auto lan = Lan();
    const Ipv4Address away(10, 7, 7, 7);
    SimGuest first(*lan, {.tap = GetParam()});
    SimGuest second(*lan, {.tap = false, .ip = away});
    Bytes packet = [&] {
        SimEcho echo{.source = kFirstGuest, .destination = away, .type = kIcmpEchoRequest};
        Bytes bytes(SimEchoLength(echo));
        BuildSimEcho(echo, {}, bytes.data());
        return bytes;
    }();
    if (GetParam()) {
        Bytes frame(kEthernetHeaderLength);
        BuildEthernetHeader(frame.data(), {kSimGatewayMac, first.Mac(), kEtherTypeIpv4});
        frame.insert(frame.end(), packet.begin(), packet.end());
        ASSERT_GT(first.Write(frame), 0);
    } else {
        ASSERT_GT(first.Write(packet), 0);
    }
    const Bytes got = second.ReadPacket();
    ASSERT_EQ(got.size(), packet.size());
    EXPECT_EQ(got[8], GetParam() ? 63 : 64);
    EXPECT_EQ(PlainChecksum(std::span(got).first(20)), 0);
}

TEST_P(SimModes, BadPacketsGetNoAnswer) {
    const auto lan = Lan();
    SimGuest guest(*lan, {.tap = GetParam(), .timeout = 20});
    SimEcho echo{.source = kFirstGuest, .destination = kSimFirstEchoHost, .type = kIcmpEchoRequest};
    Bytes sound(SimEchoLength(echo) + 4);
    BuildSimEcho(echo, {}, sound.data());
    int bad = 0;
    for (const auto& [offset, value] : {std::pair{8, 63}, {3, 200}, {24, 1}, {6, 0x20}, {0, 0x46}}) {
        Bytes packet = sound;
        packet[static_cast<std::size_t>(offset)] = static_cast<std::uint8_t>(value);
        ASSERT_GT(guest.SendPacket(kSimFirstEchoHost, packet), 0);
        ++bad;
    }
    EXPECT_EQ(guest.ReadReplies().spoilt, 0);
    EXPECT_EQ(lan->Counters().badPackets, static_cast<std::uint64_t>(bad));
    EXPECT_EQ(lan->Counters().echoRequests, 0u);
    // Padding behind a sound packet does no harm and is not echoed.
    ASSERT_GT(guest.SendPacket(kSimFirstEchoHost, sound), 0);
    EXPECT_EQ(guest.ReadPacket().size(), SimEchoLength(echo));
}

TEST_P(SimModes, TheMtuIsThatOfTheOptions) {
    const auto lan = Lan(L"mtu=600");
    SimGuest guest(*lan, {.tap = GetParam()});
    EXPECT_GT(guest.Ping(kSimFirstEchoHost, 1, 572), 0);
    EXPECT_EQ(guest.ReadPacket().size(), 600u);
    errno = 0;
    EXPECT_LT(guest.Ping(kSimFirstEchoHost, 2, 573), 0);
    EXPECT_EQ(errno, EMSGSIZE);
    EXPECT_EQ(lan->Counters().echoRequests, 1u);
}

TEST_P(SimModes, TheEchoHostPingsTheGuestWhenAsked) {
    const auto lan = Lan(L"pinger=5");
    SimGuest guest(*lan, {.tap = GetParam()});
    for (int i = 0; i < 3; ++i) {
        const Bytes packet = guest.ReadPacket();
        SimEcho echo;
        ASSERT_EQ(ParseSimEcho(packet, echo), SimEchoCheck::Good);
        EXPECT_EQ(echo.type, kIcmpEchoRequest);
        EXPECT_EQ(echo.source, kSimFirstEchoHost);
        EXPECT_EQ(packet[6], 0);
        guest.SendEcho(kIcmpEchoReply, echo.source, echo.identifier, echo.sequence, echo.data);
        // A second answer to the same ping does not count.
        guest.SendEcho(kIcmpEchoReply, echo.source, echo.identifier, echo.sequence, echo.data);
    }
    EXPECT_GE(lan->Counters().pingsSent, 3u);
    EXPECT_EQ(lan->Counters().pingsAnswered, 3u);
}

TEST_P(SimModes, StatisticsAreTrue) {
    const auto lan = Lan();
    SimGuest guest(*lan, {.tap = GetParam(), .timeout = 10});
    for (std::uint16_t i = 1; i <= 10; ++i) {
        guest.Ping(kSimFirstEchoHost, i, 8);
    }
    EXPECT_EQ(guest.ReadReplies().answered, 10);
    const VnetxStatistics stats = guest.Statistics();
    EXPECT_EQ(stats.kernelBufferSize, 1024u * 1024);
    EXPECT_EQ(stats.ioBufferSize, 64u * 1024);
    // Ten pings of 50 bytes each way, and one ARP question with its answer.
    EXPECT_EQ(stats.packetsWritten, 11);
    EXPECT_EQ(stats.bytesWritten, 10 * 50 + 42);
    EXPECT_EQ(stats.packetsRead, 11);
    EXPECT_EQ(stats.bytesRead, 10 * 50 + 42);
    EXPECT_EQ(stats.writeIos, 11);
    EXPECT_EQ(stats.internalArps, GetParam() ? 0 : 1);
    EXPECT_EQ(stats.writeCalls, GetParam() ? 11 : 10);
    EXPECT_EQ(stats.readCalls, GetParam() ? 12 : 11);
    EXPECT_GE(stats.readIos, 1);
    EXPECT_LE(stats.readIos, 11);
    EXPECT_GE(stats.maximumBytesReceived, 50u);
    EXPECT_EQ(stats.ignored + stats.fromOurself + stats.toZeroMacRead + stats.fromZeroMacRead +
                  stats.toZeroMacWritten + stats.fromZeroMacWritten,
              0);
}

INSTANTIATE_TEST_SUITE_P(Sim, SimModes, ::testing::Bool(),
                         [](const auto& mode) { return mode.param ? "Tap" : "Tun"; });

TEST(Sim, AStationAsksForTheGuestsMacAndWaitsForTheAnswer) {
    const auto lan = Lan();
    SimGuest guest(*lan, {.tap = true, .timeout = 20});
    guest.Ping(kSimFirstEchoHost, 1);
    guest.Ping(kSimFirstEchoHost, 2);
    const Bytes question = guest.Read();
    ASSERT_EQ(question.size(), kArpFrameLength);
    const auto header = ParseEthernetHeader(question);
    EXPECT_EQ(header->destination, MacAddress::Broadcast());
    const auto arp = ParseArp(std::span(question).subspan(kEthernetHeaderLength));
    ASSERT_TRUE(arp);
    EXPECT_EQ(arp->operation, kArpRequest);
    EXPECT_EQ(arp->senderIp, kSimFirstEchoHost);
    EXPECT_EQ(arp->senderMac, header->source);
    EXPECT_EQ(arp->targetIp, kFirstGuest);
    EXPECT_TRUE(guest.Read().empty()) << "no reply before the answer, and no second question at once";
    EXPECT_EQ(lan->Counters().repliesHeld, 2u);
    guest.Write(BuildArpFrame(arp->senderMac, guest.Mac(),
                              {kArpReply, guest.Mac(), kFirstGuest, arp->senderMac, arp->senderIp}));
    EXPECT_EQ(guest.ReadReplies().order, (std::vector<std::uint16_t>{1, 2}));
    EXPECT_EQ(lan->Counters().repliesHeld, 0u);
    // The station that knows the MAC asks no more.
    guest.Ping(kSimFirstEchoHost, 3);
    EXPECT_EQ(LoadBe16(&guest.Read()[12]), kEtherTypeIpv4);
}

TEST(Sim, StationsAnswerArpOfATapGuest) {
    const auto lan = Lan();
    SimGuest guest(*lan, {.tap = true, .timeout = 20});
    const auto ask = [&](Ipv4Address ip) {
        guest.Write(BuildArpFrame(MacAddress::Broadcast(), guest.Mac(),
                                  {kArpRequest, guest.Mac(), kFirstGuest, MacAddress(), ip}));
        return guest.Read();
    };
    const Bytes answer = ask(kSimGatewayIp);
    ASSERT_EQ(answer.size(), kArpFrameLength);
    EXPECT_EQ(LoadMac(answer.data()), guest.Mac());
    const auto arp = ParseArp(std::span(answer).subspan(kEthernetHeaderLength));
    EXPECT_EQ(arp->operation, kArpReply);
    EXPECT_EQ(arp->senderMac, kSimGatewayMac);
    EXPECT_EQ(arp->targetMac, guest.Mac());
    EXPECT_TRUE(ask(kSimSilentHost).empty());
    EXPECT_EQ(guest.AskMac(kSimGatewayIp), kSimGatewayMac);
}

TEST(Sim, OnlyTheGatewayForwards) {
    const auto lan = Lan();
    SimGuest guest(*lan, {.tap = true, .timeout = 20});
    SimEcho echo{.source = kFirstGuest, .destination = Ipv4Address(10, 0, 0, 1), .type = kIcmpEchoRequest};
    Bytes frame(kEthernetHeaderLength + SimEchoLength(echo));
    BuildSimEcho(echo, {}, frame.data() + kEthernetHeaderLength);
    for (const MacAddress mac : {kSimAdapterMac, SimStationMac(5), MacAddress({2, 9, 9, 9, 9, 9})}) {
        BuildEthernetHeader(frame.data(), {mac, guest.Mac(), kEtherTypeIpv4});
        ASSERT_GT(guest.Write(frame), 0);
    }
    EXPECT_TRUE(guest.Read().empty());
    EXPECT_EQ(lan->Counters().undeliverable, 3u);
}

TEST(Sim, OpensOnlyTheSimulatedAdapter) {
    const auto lan = Lan();
    EXPECT_STREQ(lan->GetDefaultIface(), "02-56-4E-12-00-01");
    for (const char* name : {"198.18.0.2", "10.0.0.1", "eth0", "", "02-56-4E-12-00-02"}) {
        errno = 0;
        EXPECT_LT(lan->Open(name, VNETX_OPEN_READ_WRITE), 0) << name;
        EXPECT_EQ(errno, ENODEV) << name;
    }
    EXPECT_EQ(lan->InterfacesOpened(), 0u);
    for (const char* name : {"198.18.0.1", "02-56-4E-12-00-01", "02:56:4e:12:00:01"}) {
        const std::int32_t handle = lan->Open(name, VNETX_OPEN_READ_WRITE);
        EXPECT_GE(handle, 0) << name;
        lan->Close(handle);
    }
    VnetxArpRequest record{};
    record.protocolFamily = VNETX_AF_INET;
    StoreIpv4(record.protocolAddress, kSimAdapterIp);
    ASSERT_EQ(lan->Ioctl(-1, VNETX_SIOCGARP, &record), 0);
    EXPECT_EQ(LoadMac(record.hardwareAddress), kSimAdapterMac);
    VnetxArpRequest reverse{};
    StoreMac(reverse.hardwareAddress, kSimAdapterMac);
    ASSERT_EQ(lan->Ioctl(-1, VNETX_SIOCGRARP, &reverse), 0);
    EXPECT_EQ(LoadIpv4(reverse.protocolAddress), kSimAdapterIp);
}

TEST(Sim, AReadWaitsForItsTimeOutAndNoLonger) {
    const auto lan = Lan(L"delay=60");
    SimGuest guest(*lan, {.timeout = 40});
    guest.Ping(kSimFirstEchoHost, 1);
    const auto start = Clock::now();
    // The first read ends empty at 40 ms, the second has the reply at 60.
    EXPECT_TRUE(guest.Read().empty());
    const auto first = Clock::now() - start;
    EXPECT_GE(first, std::chrono::milliseconds(39));
    EXPECT_FALSE(guest.Read().empty());
    const auto second = Clock::now() - start;
    EXPECT_GE(second, std::chrono::milliseconds(59));
    EXPECT_LT(second, std::chrono::milliseconds(1000));
}

TEST(Sim, ClosingEndsAWaitingReadAndWhatWasOnItsWay) {
    const auto lan = Lan(L"delay=200");
    SimGuest guest(*lan, {.timeout = 60000});
    guest.Ping(kSimFirstEchoHost, 1);
    std::atomic<std::int32_t> result{1};
    std::thread reader([&, handle = guest.Handle()] {
        std::uint8_t buffer[100];
        result = lan->Read(handle, buffer, sizeof buffer);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const std::int32_t handle = guest.Handle();
    guest.Close();
    reader.join();
    EXPECT_LT(result, 0);
    std::uint8_t byte = 0;
    EXPECT_LT(lan->Write(handle, &byte, 1), 0);
    EXPECT_EQ(errno, EBADF);
    // The counts stay, and the next guest starts with an empty wire.
    EXPECT_EQ(lan->Counters(0).echoRequests, 1u);
    SimGuest next(*lan, {.timeout = 250});
    EXPECT_TRUE(next.Read().empty());
}

std::mutex g_debugLock;
std::string g_debugText;
void TakeDebugText(const char* text, ...) {
    const std::lock_guard lock(g_debugLock);
    g_debugText += text;
}

TEST(Sim, DebugOutputFollowsTheFlags) {
    const auto lan = Lan();
    ASSERT_NE(lan->SetDebugOutputFunc(&TakeDebugText), 0);
    const auto run = [&](bool debug, std::uint32_t flags) {
        g_debugText.clear();
        SimGuest guest(*lan, {.debug = debug, .debugFlags = flags});
        guest.Ping(kSimFirstEchoHost, 1);
        EXPECT_FALSE(guest.Read().empty());
        return g_debugText;
    };
    EXPECT_EQ(run(false, 0xFFFFFFFF), "");
    const std::string arp = run(true, VNETX_DEBUG_ARP_READ | VNETX_DEBUG_ARP_WRITTEN);
    EXPECT_NE(arp.find("198.18.0.2"), std::string::npos);
    EXPECT_EQ(arp.find("protocol 1"), std::string::npos);
    const std::string other = run(true, VNETX_DEBUG_OTHER_READ);
    EXPECT_NE(other.find("198.18.0.2 > 198.18.0.111"), std::string::npos);
    EXPECT_EQ(other.find("198.18.0.111 > 198.18.0.2"), std::string::npos);
    lan->SetDebugOutputFunc(nullptr);
}

} // namespace

} // namespace vnxtest
