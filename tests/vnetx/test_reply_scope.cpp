// To whom a reply may go, and that a library sends no other.

#include <gtest/gtest.h>

#include "vnetx/library_guest.h"

namespace vnxtest {
namespace {

constexpr Ipv4Address kMask24(255, 255, 255, 0);

TEST(ReplyScope, AnotherHostIsOneThatThereCanBe) {
    ReplyScope scope{{}, {10, 1, 2, 111}, {10, 1, 2, 111}, kMask24, {}};
    for (const Ipv4Address host :
         {Ipv4Address(10, 1, 2, 1), Ipv4Address(10, 1, 2, 254), Ipv4Address(10, 1, 3, 0),
          Ipv4Address(10, 1, 3, 255), Ipv4Address(1, 0, 0, 1), Ipv4Address(223, 255, 255, 255),
          Ipv4Address(240, 0, 0, 1)}) {
        EXPECT_TRUE(IsAnotherHost(host, scope)) << std::hex << host.Host();
    }
    for (const Ipv4Address nobody :
         {Ipv4Address(10, 1, 2, 0), Ipv4Address(10, 1, 2, 255), Ipv4Address(10, 1, 2, 111),
          Ipv4Address(0, 0, 0, 0), Ipv4Address(0, 9, 9, 9), Ipv4Address(127, 0, 0, 1),
          Ipv4Address(127, 255, 255, 255), Ipv4Address(224, 0, 0, 1), Ipv4Address(239, 9, 9, 9),
          Ipv4Address(255, 255, 255, 255)}) {
        EXPECT_FALSE(IsAnotherHost(nobody, scope)) << std::hex << nobody.Host();
    }
    scope.broadcast = {10, 1, 9, 9};
    EXPECT_FALSE(IsAnotherHost({10, 1, 9, 9}, scope)) << "as it was set";
    scope.mask = {255, 255, 255, 254};
    EXPECT_TRUE(IsAnotherHost({10, 1, 2, 110}, scope)) << "two hosts and nothing else";
    scope.mask = {};
    EXPECT_TRUE(IsAnotherHost({10, 1, 2, 255}, scope)) << "no subnet is known";
}

// What is written counts as written, and goes nowhere. To whom the program itself replies: tests/e2e.
TEST(ReplyScope, ALibrarySendsNoReplyToNobodyAndEverythingElse) {
    const auto lan = Lan();
    const MacAddress station = SimStationMac(2);
    for (const bool tap : {false, true}) {
        LibraryGuest guest(*lan, {.tap = tap, .timeout = 20});
        // Whether it was sent.
        const auto write = [&](const Bytes& frame) {
            const VnetxStatistics before = guest.Statistics();
            EXPECT_EQ(guest.Write(frame), static_cast<std::int32_t>(frame.size()));
            const VnetxStatistics after = guest.Statistics();
            EXPECT_EQ(after.packetsWritten > before.packetsWritten, after.ignored == before.ignored);
            return after.packetsWritten > before.packetsWritten;
        };
        const auto echo = [&](std::uint8_t type, Ipv4Address to, MacAddress mac, std::uint8_t offset = 0) {
            Bytes packet = EchoPacket({.source = guest.Ip(), .destination = to, .type = type});
            packet[7] = offset;
            return write(tap ? EthernetFrame(mac, guest.Mac(), kEtherTypeIpv4, packet) : packet);
        };
        EXPECT_TRUE(echo(kIcmpEchoReply, kSimFirstEchoHost, station));
        EXPECT_FALSE(echo(kIcmpEchoReply, kSimBroadcast, station));
        EXPECT_FALSE(echo(kIcmpEchoReply, guest.Ip(), station));
        EXPECT_TRUE(echo(kIcmpEchoRequest, kSimBroadcast, MacAddress::Broadcast())) << "nobody's answer";
        EXPECT_TRUE(echo(kIcmpEchoReply, kSimBroadcast, MacAddress::Broadcast(), 1)) << "a fragment";
        if (!tap) {
            continue;
        }
        const auto answer = [&](MacAddress to, Ipv4Address asker, std::uint16_t operation = kArpReply) {
            const auto frame =
                BuildArpFrame(to, guest.Mac(), {operation, guest.Mac(), guest.Ip(), to, asker});
            return write(Bytes(frame.begin(), frame.end()));
        };
        EXPECT_TRUE(answer(station, kSimFirstEchoHost));
        EXPECT_TRUE(answer(station, {})) << "who probes for an address has none";
        EXPECT_TRUE(answer(station, guest.Ip())) << "who announces the guest's address";
        EXPECT_FALSE(answer(station, kSimNetwork));
        for (const MacAddress nobody :
             {MacAddress::Broadcast(), MacAddress(), MacAddress({1, 0, 0x5E, 0, 0, 1}), guest.Mac()}) {
            EXPECT_FALSE(echo(kIcmpEchoReply, kSimFirstEchoHost, nobody));
            for (std::uint16_t operation = 1; operation <= 4; ++operation) {
                EXPECT_EQ(answer(nobody, {}, operation), operation % 2 == 1) << "questions may go to all";
            }
        }
    }
}

} // namespace
} // namespace vnxtest
