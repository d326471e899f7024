// The simulated LAN as a guest sees it.

#include <gtest/gtest.h>

#include "vnetx/library_guest.h"

namespace vnxtest {
namespace {

class SimModes : public ::testing::TestWithParam<bool> {
protected:
    const bool m_tap = GetParam();
    const std::unique_ptr<SimLibrary> m_lan = Lan();
    LibraryGuest m_guest{*m_lan, {.tap = m_tap, .timeout = 20}};
};
INSTANTIATE_TEST_SUITE_P(Sim, SimModes, ::testing::Bool(),
                         [](const auto& mode) { return mode.param ? "Tap" : "Tun"; });

TEST_P(SimModes, StationsAndTheWorldBehindTheGatewayAnswerWhatIsSound) {
    std::uint16_t sequence = 0;
    for (const Ipv4Address target : {kSimFirstEchoHost, kSimLastEchoHost, kSimGatewayIp, kSimAdapterIp,
                                     Ipv4Address(192, 0, 2, 9), Ipv4Address(10, 1, 2, 3)}) {
        ASSERT_GT(m_guest.Ping(target, ++sequence, 5), 0);
        const Bytes data(5, static_cast<std::uint8_t>('a' + sequence));
        EXPECT_EQ(m_guest.ReadPacket(),
                  EchoPacket({target, kFirstGuest, 0, kIcmpEchoReply, m_guest.kIdentifier, sequence, data},
                             {.timeToLive = static_cast<std::uint8_t>(SimOnLan(target) ? 64 : 57),
                              .identification = sequence}));
    }
    for (const Ipv4Address target : {kSimSilentHost, Ipv4Address(198, 18, 0, 100),
                                     Ipv4Address(203, 0, 113, 5), Ipv4Address(127, 0, 0, 1)}) {
        EXPECT_GT(m_guest.Ping(target, 1), 0) << "a write to nobody succeeds: only the answer is missing";
    }
    Bytes sound = Request(kFirstGuest, kSimFirstEchoHost);
    sound.resize(28 + 4); // padding does no harm and is not echoed
    for (const auto& [offset, value] : {std::pair{8u, 63}, {3u, 200}, {24u, 1}, {6u, 0x20}, {0u, 0x46}}) {
        Bytes packet = sound;
        packet[offset] = static_cast<std::uint8_t>(value);
        ASSERT_GT(m_guest.SendPacket(kSimFirstEchoHost, packet), 0);
    }
    EXPECT_TRUE(m_guest.ReadPacket().empty());
    ASSERT_GT(m_guest.SendPacket(kSimFirstEchoHost, sound), 0);
    EXPECT_EQ(m_guest.ReadPacket().size(), 28u);
    EXPECT_TRUE(m_guest.AskMac(kSimSilentHost).IsZero());
    const SimCounters counters = m_lan->Counters(0);
    EXPECT_EQ(counters.echoRequests, 7u);
    EXPECT_EQ(counters.repliesSent, 7u);
    EXPECT_EQ(counters.badPackets, 5u);
    EXPECT_EQ(counters.undeliverable + counters.repliesHeld, 0u);
    // On a TUN interface the library finds no neighbour for the silent ones of the LAN.
    EXPECT_EQ(counters.silentRequests, m_tap ? 4u : 2u);
    EXPECT_EQ(m_guest.Statistics().ignored, m_tap ? 0 : 2);
}

TEST(Sim, AStationAsksForTheGuestsMacAndWaitsForTheAnswer) {
    const auto lan = Lan();
    LibraryGuest guest(*lan, {.tap = true, .timeout = 20});
    guest.Ping(kSimFirstEchoHost, 1);
    guest.Ping(kSimFirstEchoHost, 2);
    const MacAddress station = SimStationMac(2);
    EXPECT_EQ(guest.Read(), ArpQuestion(station, kSimFirstEchoHost, kFirstGuest));
    EXPECT_TRUE(guest.Read().empty()) << "no reply before the answer, and no second question at once";
    EXPECT_EQ(lan->Counters().repliesHeld, 2u);
    guest.Write(ArpAnswer(guest.Mac(), kFirstGuest, station, kSimFirstEchoHost));
    EXPECT_EQ(guest.ReadReplies(), (std::vector<std::uint16_t>{1, 2}));
    EXPECT_EQ(lan->Counters().repliesHeld, 0u);
    guest.Ping(kSimFirstEchoHost, 3);
    EXPECT_EQ(ConstEthernetView::Over(guest.Read())->EtherType(), kEtherTypeIpv4)
        << "the station that knows the MAC asks no more";
    // Stations answer, too.
    guest.Write(ArpQuestion(guest.Mac(), kFirstGuest, kSimGatewayIp));
    EXPECT_EQ(guest.Read(), ArpAnswer(kSimGatewayMac, kSimGatewayIp, guest.Mac(), kFirstGuest));
}

TEST_P(SimModes, GuestsReachEachOtherAndOnlyTheGatewayForwards) {
    const Ipv4Address away(10, 7, 7, 7);
    for (const Ipv4Address address : {kSecondGuest, away}) {
        LibraryGuest other(*m_lan, {.tap = !m_tap, .ip = address});
        const Bytes packet = Request(kFirstGuest, address);
        ASSERT_GT(m_guest.SendPacket(address, packet), 0);
        EXPECT_EQ(other.ReadPacket(), packet);
    }
    if (m_tap) {
        LibraryGuest other(*m_lan, {.ip = away, .timeout = 20});
        Bytes packet = Request(kFirstGuest, away);
        const auto sendBy = [&](MacAddress mac) {
            return m_guest.Write(EthernetFrame(mac, m_guest.Mac(), kEtherTypeIpv4, packet));
        };
        for (const MacAddress mac : {kSimAdapterMac, SimStationMac(5), MacAddress({2, 9, 9, 9, 9, 9})}) {
            ASSERT_GT(sendBy(mac), 0);
        }
        EXPECT_TRUE(other.Read().empty());
        EXPECT_EQ(m_lan->Counters().undeliverable, 3u);
        ASSERT_GT(sendBy(kSimGatewayMac), 0);
        EXPECT_EQ(other.Read().at(8), 63);
    }
}

} // namespace
} // namespace vnxtest
