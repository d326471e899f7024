#include "vnetx/watch/address_watch.h"

#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

#include "packets/ipv4_packet.h"

namespace vnxtest {
namespace {

using namespace std::chrono_literals;
using Frame = std::vector<std::uint8_t>;

constexpr Ipv4Address kGuest(10, 0, 0, 100), kHost(10, 0, 0, 7), kOther(10, 0, 0, 8);
constexpr MacAddress kGuestMac({2, 0, 0, 0, 0, 100}), kOtherMac({2, 0, 0, 0, 0, 8}),
    kHostMac({2, 0, 0, 0, 0, 9});

Frame FrameFrom(MacAddress source, std::uint16_t type, std::span<const std::uint8_t> payload) {
    Frame frame(EthernetView::kLength);
    EthernetView::Over(frame)->Emit({MacAddress::Broadcast(), source, type});
    frame.insert(frame.end(), payload.begin(), payload.end());
    return frame;
}

Frame Packet(MacAddress mac, Ipv4Address source) {
    std::array<std::uint8_t, Ipv4View::kLength> header{0x45};
    std::copy_n(source.Bytes().begin(), 4, header.begin() + 12);
    return FrameFrom(mac, kEtherTypeIpv4, header);
}

class Addresses : public testing::Test {
protected:
    Addresses() { m_probe = *m_watch.Begin(kGuestMac, kGuest); }

    ArpFrame Answer(MacAddress by, Ipv4Address target = {}) {
        return MakeArpFrame(kGuestMac, {ArpOperation::Reply, by, kGuest, kGuestMac, target});
    }
    void Hear(const ArpPacket& packet) {
        const ArpFrame frame = MakeArpFrame(MacAddress::Broadcast(), packet);
        const std::span<const std::uint8_t> bytes(frame);
        if (packet.senderMac == kGuestMac) {
            m_watch.HearOwnMac(bytes);
        } else {
            m_watch.HearArp(*ConstArpView::Over(bytes.subspan(EthernetView::kLength)));
        }
    }
    WireFacts Facts() {
        WireFacts facts;
        m_watch.AddTo(facts);
        return facts;
    }

    AddressWatch::Clock::time_point m_now{1h};
    AddressWatch m_watch{kHostMac, [this] { return m_now; }};
    ArpFrame m_probe{};
};

TEST_F(Addresses, TheProbeSpeaksForNobodyAndOnlyWhatItCausedIsTaken) {
    const auto arp =
        *ConstArpView::Over(std::span<const std::uint8_t>(m_probe).subspan(EthernetView::kLength));
    EXPECT_EQ(arp.Operation(), ArpOperation::Request);
    EXPECT_TRUE(arp.SenderProtocolAddress().IsZero());
    EXPECT_EQ(arp.TargetProtocolAddress(), kGuest);
    EXPECT_TRUE(m_watch.Takes(m_probe)) << "brought back by the wire";
    EXPECT_FALSE(m_watch.Takes(Answer(kOtherMac, kGuest))) << "an answer to somebody else's question";
    EXPECT_FALSE(Facts().addressInUse);
    m_now += 20ms;
    EXPECT_TRUE(m_watch.Takes(Answer(kOtherMac)));
    ASSERT_TRUE(Facts().addressInUse);
    EXPECT_EQ(Facts().addressInUse->by, kOtherMac);
    EXPECT_TRUE(Facts().addressInUse->probed);
    EXPECT_EQ(Facts().addressInUse->first, 20ms);
    m_now += 2s;
    EXPECT_FALSE(m_watch.Takes(Answer(kOtherMac))) << "a frame like any other by now";
    EXPECT_FALSE(AddressWatch(kHostMac).Begin(kGuestMac, {}));
}

TEST_F(Addresses, AnArpPacketOfAnotherWithTheGuestsAddressIsAConflictAtAnyTime) {
    Hear({ArpOperation::Request, kOtherMac, kHost, {}, kGuest});
    Hear({ArpOperation::Request, kOtherMac, {}, {}, kGuest}); // another's probe: it does not use it yet
    Hear({ArpOperation::Request, kGuestMac, kGuest, {}, kHost});
    Hear({ArpOperation::Request, kHostMac, kGuest, {}, kHost}); // what the user has asked for
    EXPECT_FALSE(Facts().addressInUse);
    m_now += 5s;
    Hear({ArpOperation::Request, kOtherMac, kGuest, {}, kHost});
    Hear({ArpOperation::Reply, kOtherMac, kGuest, kGuestMac, kGuest});
    ASSERT_TRUE(Facts().addressInUse);
    EXPECT_FALSE(Facts().addressInUse->probed);
    EXPECT_EQ(Facts().addressInUse->times, 2u);
    EXPECT_EQ(Facts().addressInUse->first, 5s);
}

TEST_F(Addresses, OwnFramesThatComeBackAreNobodyElses) {
    m_watch.HearOwnMac(m_probe);
    Hear({ArpOperation::Request, kGuestMac, kGuest, {}, kHost});
    m_watch.HearOwnMac(Packet(kGuestMac, kGuest));
    m_watch.HearOwnMac(FrameFrom(kGuestMac, 0x88CC, {}));
    m_watch.HearOwnMac(FrameFrom(kGuestMac, kEtherTypeIpv4, {})); // cut short
    EXPECT_FALSE(Facts().macInUse);
    Hear({ArpOperation::Request, kGuestMac, kHost, {}, kOther});
    ASSERT_TRUE(Facts().macInUse);
    EXPECT_EQ(Facts().macInUse->by, kHost);
    m_watch.HearOwnMac(Packet(kGuestMac, kOther));
    m_watch.HearOwnMac(FrameFrom(kGuestMac, 0x86DD, {}));
    EXPECT_EQ(Facts().macInUse->times, 3u);
    EXPECT_EQ(Facts().macInUse->by, kOther);
}

} // namespace
} // namespace vnxtest
