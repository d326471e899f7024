// The simulated LAN as a guest sees it, and the requests of the contract, which every built-in library
// decodes the same way.

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

TEST(Requests, WrongOnesAreRefused) {
    const auto lan = Lan();
    EXPECT_EQ(ErrorOf(lan->Open("198.18.0.2", VNETX_OPEN_READ_WRITE)), ENODEV);
    EXPECT_EQ(ErrorOf(lan->Open(nullptr, VNETX_OPEN_READ_WRITE)), EINVAL);
    EXPECT_EQ(ErrorOf(lan->Open("198.18.0.1", 0)), EINVAL);
    VnetxInterfaceRequest record{};
    for (const std::int32_t handle : {-1, 12345}) {
        EXPECT_EQ(ErrorOf(lan->Ioctl(handle, VNETX_TUNSETIFF, &record)), EBADF);
        EXPECT_EQ(ErrorOf(lan->Read(handle, &record, sizeof record)), EBADF);
        EXPECT_EQ(ErrorOf(lan->Write(handle, &record, sizeof record)), EBADF);
    }
    // Nothing is set without a mode, and there is one mode in a handle's life.
    const std::int32_t handle = lan->Open("02:56:4e:12:00:01", VNETX_OPEN_READ_WRITE);
    const auto request = [&](std::uint32_t code, int flags) {
        record.u.flags = static_cast<std::uint16_t>(flags);
        return ErrorOf(lan->Ioctl(handle, code, &record));
    };
    EXPECT_EQ(request(VNETX_SIOCSIFFLAGS, VNETX_IFF_UP), ENODEV);
    EXPECT_EQ(request(VNETX_TUNSETIFF, 0x1003), EINVAL) << "both modes";
    ASSERT_EQ(request(VNETX_TUNSETIFF_OLD, VNETX_IFF_TAP | VNETX_IFF_NO_PI), 0);
    EXPECT_EQ(request(VNETX_TUNSETIFF, VNETX_IFF_TAP | VNETX_IFF_NO_PI), EINVAL);
    EXPECT_EQ(request(VNETX_SIOCSIFFLAGS, VNETX_IFF_UP), EADDRNOTAVAIL) << "no guest address and no MAC";
    EXPECT_EQ(request(VNETX_SIOCGIFHWADDR, 0), EADDRNOTAVAIL);
    record.name[0] = 'x';
    EXPECT_EQ(request(VNETX_SIOCGIFADDR, 0), ENODEV) << "another's name";
    EXPECT_EQ(ErrorOf(lan->Ioctl(handle, VNETX_SIOCSIFMTU, nullptr)), EINVAL);
    VnetxStatistics statistics{};
    EXPECT_EQ(ErrorOf(lan->GetStats(handle, &statistics)), EINVAL) << "its length was not set";
}

TEST(Requests, WhatIsSetHoldsAndIsNotChangedUnderTheFrames) {
    const auto lan = Lan();
    LibraryGuest guest(*lan, {.tap = true, .up = false});
    EXPECT_EQ(guest.Set(VNETX_SIOCSIFADDR, 10), EAFNOSUPPORT);
    EXPECT_EQ(guest.Set(VNETX_SIOCSIFNETMASK, Ipv4Address(255, 0, 255, 0)), EINVAL);
    using Refused = std::pair<std::uint32_t, std::uint32_t>;
    for (const auto& [code, value] : {Refused{VNETX_SIOCSIFMTU, 45},
                                      {VNETX_SIOCSIFMTU, 1501},
                                      {VNETX_VNXSDEVBUFF, (1u << 30) + 1},
                                      {VNETX_VNXSIOBUFF, (1u << 26) + 1},
                                      {VNETX_VNXSTIMEOUT, 0x80000000},
                                      {0x8999, 1}}) {
        EXPECT_EQ(guest.Set(code, value), EINVAL) << std::hex << code << ' ' << value;
    }
    VnetxInterfaceRequest record{};
    EXPECT_EQ(guest.Request(VNETX_SIOCGIFADDR, record), 0);
    EXPECT_EQ(Ipv4In(record), kSimAdapterIp) << "the adapter's, as none was set";
    const auto guestMac = [&] {
        EXPECT_EQ(guest.Request(VNETX_SIOCGIFHWADDR, record), 0);
        return MacIn(record);
    };
    const auto setMac = [&](MacAddress mac, std::uint16_t family = VNETX_ARPHRD_ETHER) {
        PutMac(record, mac);
        record.u.hardware.family = family;
        return guest.Request(VNETX_SIOCSIFHWADDR, record);
    };
    constexpr MacAddress kMac({2, 0, 0, 0, 0, 0x77});
    EXPECT_EQ(guestMac(), guest.Mac()) << "it follows from the address";
    EXPECT_EQ(setMac(MacAddress({1, 0, 0, 0, 0, 0x77})), EADDRNOTAVAIL) << "a group's";
    EXPECT_EQ(setMac(kMac, VNETX_AF_INET), EINVAL) << "of another family";
    EXPECT_EQ(setMac(kMac), 0);
    EXPECT_EQ(guestMac(), kMac);
    EXPECT_EQ(guest.Set(VNETX_SIOCSIFMTU, 1000), 0);
    EXPECT_EQ(ErrorOf(guest.Write(Bytes(60))), ENETDOWN);
    EXPECT_EQ(guest.SetFlags(VNETX_IFF_UP), 0);
    EXPECT_EQ(ErrorOf(guest.Write(Bytes(1015))), EMSGSIZE);
    EXPECT_EQ(guest.Write(Bytes(1014)), 1014);
    EXPECT_EQ(guest.Set(VNETX_SIOCSIFMTU, 1000), EBUSY);
    EXPECT_EQ(setMac(kMac), EBUSY);
    EXPECT_EQ(guest.SetFlags(0), 0);
    EXPECT_EQ(ErrorOf(guest.TryRead()), ENETDOWN);
}

TEST(Requests, DebugOutputFollowsTheFlags) {
    const auto lan = Lan();
    ASSERT_NE(lan->SetDebugOutputFunc(&DebugText::Collect), 0);
    LibraryGuest guest(*lan, {});
    // What is shown of a ping and its reply.
    const auto ping = [&](std::uint32_t flags) {
        EXPECT_EQ(guest.Set(VNETX_TUNSETDEBUG, flags), 0);
        DebugText::Take();
        guest.Ping(kSimFirstEchoHost, 1);
        EXPECT_FALSE(guest.Read().empty());
        return DebugText::Take();
    };
    EXPECT_EQ(ping(0xFFFFFFFF), "") << "nothing without the debug flag of the interface";
    EXPECT_EQ(guest.SetFlags(VNETX_IFF_UP | VNETX_IFF_DEBUG), 0);
    EXPECT_EQ(guest.Set(VNETX_VNXSTIMEOUT, 300), 0);
    EXPECT_THAT(DebugText::Take(), HasSubstr("VNXSTIMEOUT: old 250, new 300"));
    EXPECT_THAT(ping(VNETX_DEBUG_OTHER_READ),
                AllOf(HasSubstr("74 bytes read"), Not(HasSubstr("written")), Not(HasSubstr(" 62 62 "))));
    EXPECT_THAT(ping(VNETX_DEBUG_OTHER_WRITTEN | VNETX_DEBUG_PACKET_CONTENTS),
                AllOf(HasSubstr("74 bytes written"), HasSubstr(" 62 62 "), Not(HasSubstr("read"))));
    lan->SetDebugOutputFunc(nullptr);
    EXPECT_EQ(ping(0xFFFFFFFF), "");
}

} // namespace
} // namespace vnxtest
