// That a library sends no reply to nobody.

#include <gtest/gtest.h>

#include "vnetx/library_guest.h"

namespace vnxtest {
namespace {

class ReplyModes : public ::testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(Sim, ReplyModes, ::testing::Bool(),
                         [](const auto& mode) { return mode.param ? "Tap" : "Tun"; });

// What is written counts as written, and goes nowhere.
TEST_P(ReplyModes, ALibrarySendsNoReplyToNobodyAndEverythingElse) {
    const auto lan = Lan();
    LibraryGuest guest(*lan, {.tap = GetParam(), .timeout = 20});
    const auto write = [&](Bytes packet, MacAddress to) {
        if (GetParam()) {
            packet = EthernetFrame(to, guest.Mac(), kEtherTypeIpv4, packet);
        }
        const VnetxStatistics before = guest.Statistics();
        EXPECT_EQ(guest.Write(packet), static_cast<std::int32_t>(packet.size()));
        const VnetxStatistics after = guest.Statistics();
        EXPECT_EQ(after.packetsWritten > before.packetsWritten, after.ignored == before.ignored);
        return after.packetsWritten > before.packetsWritten;
    };
    const auto echo = [&](std::uint8_t type, Ipv4Address to) {
        return EchoPacket({.source = guest.Ip(), .destination = to, .type = type});
    };
    const auto answerArp = [&](MacAddress to, Ipv4Address asker) {
        const auto frame = MakeArpFrame(to, {ArpOperation::Reply, guest.Mac(), guest.Ip(), to, asker});
        const std::int64_t before = guest.Statistics().packetsWritten;
        EXPECT_EQ(guest.Write(frame), 42);
        return guest.Statistics().packetsWritten - before == 1;
    };
    const MacAddress station = SimStationMac(2);
    EXPECT_TRUE(write(echo(kIcmpEchoReply, kSimFirstEchoHost), station));
    for (const Ipv4Address nobody : {kSimNetwork, kSimBroadcast, Ipv4Address(255, 255, 255, 255),
                                     Ipv4Address(224, 0, 0, 1), Ipv4Address(127, 0, 0, 1), guest.Ip()}) {
        EXPECT_FALSE(write(echo(kIcmpEchoReply, nobody), station)) << std::hex << nobody.Host();
    }
    EXPECT_TRUE(write(echo(kIcmpEchoRequest, kSimBroadcast), MacAddress::Broadcast())) << "nobody's answer";
    Bytes fragment = echo(kIcmpEchoReply, kSimBroadcast);
    fragment[7] = 1;
    EXPECT_TRUE(write(fragment, MacAddress::Broadcast())) << "the middle of something else";
    if (!GetParam()) {
        return;
    }
    for (const Ipv4Address nobody :
         {kSimNetwork, kSimBroadcast, Ipv4Address(255, 255, 255, 255), Ipv4Address(224, 0, 0, 1),
          Ipv4Address(127, 0, 0, 1), Ipv4Address(0, 1, 2, 3)}) {
        EXPECT_FALSE(answerArp(station, nobody)) << std::hex << nobody.Host();
    }
    EXPECT_TRUE(answerArp(station, kSimFirstEchoHost));
    EXPECT_TRUE(answerArp(station, {})) << "who probes for an address has none";
    EXPECT_TRUE(answerArp(station, guest.Ip())) << "who announces the guest's address";
    for (const MacAddress nobody :
         {MacAddress::Broadcast(), MacAddress(), MacAddress({1, 0, 0x5E, 0, 0, 1}), guest.Mac()}) {
        EXPECT_FALSE(write(echo(kIcmpEchoReply, kSimFirstEchoHost), nobody));
        for (std::uint16_t operation = 1; operation <= 4; ++operation) {
            const auto frame =
                MakeArpFrame(nobody, {ArpOperation{operation}, guest.Mac(), guest.Ip(), nobody, {}});
            const std::int64_t before = guest.Statistics().packetsWritten;
            EXPECT_EQ(guest.Write(frame), 42);
            EXPECT_EQ(guest.Statistics().packetsWritten - before, operation % 2) << "questions may go to all";
        }
    }
}

} // namespace
} // namespace vnxtest
