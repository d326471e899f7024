// A library sends no reply that has no single addressee.

#include <gtest/gtest.h>

#include "vnetx/library_guest.h"

namespace vnxtest {
namespace {

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
        const auto answer = [&](MacAddress to, Ipv4Address asker,
                                ArpOperation operation = ArpOperation::Reply) {
            const auto frame = MakeArpFrame(to, {operation, guest.Mac(), guest.Ip(), to, asker});
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
                EXPECT_EQ(answer(nobody, {}, ArpOperation{operation}), operation % 2 == 1)
                    << "questions may go to all";
            }
        }
    }
}

} // namespace
} // namespace vnxtest
