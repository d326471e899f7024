// The bytes of packets both ways: emitted packets equal golden bytes, and golden bytes are parsed to their
// values. Packets that are too short or of another kind are refused.

#include <tuple>

#include <gtest/gtest.h>

#include "packets/arp_packet.h"
#include "packets/icmp_echo.h"
#include "packets/ipv4_packet.h"
#include "support/hex.h"

namespace vnxtest {
namespace {

constexpr MacAddress kGuest({0x02, 0x00, 0x5E, 0x80, 0x00, 0x04}),
    kOther({0x00, 0x11, 0x22, 0x33, 0x44, 0x55});
constexpr Ipv4Address kGuestIp(10, 0, 0, 4), kOtherIp(10, 0, 0, 1);

// As captured on a wire (padding left out).
const char* const kArpRequestText = "FFFFFFFFFFFF 001122334455 0806 0001 0800 06 04 0001"
                                    "001122334455 0A000001 000000000000 0A000004";
const char* const kArpReplyText = "001122334455 02005E800004 0806 0001 0800 06 04 0002"
                                  "02005E800004 0A000004 001122334455 0A000001";
const char* const kRarpRequestText = "FFFFFFFFFFFF 02005E800004 8035 0001 0800 06 04 0003"
                                     "02005E800004 00000000 02005E800004 00000000";
const char* const kRarpReplyText = "02005E800004 001122334455 8035 0001 0800 06 04 0004"
                                   "001122334455 0A000001 02005E800004 0A000004";
const char* const kEchoText = "4500 0020 1234 4000 40 01 14A5 0A000001 0A000004"
                              "08 00 2F33 0102 0304 61626364";

struct ArpCase {
    const char* golden;
    MacAddress destination;
    std::uint16_t etherType;
    ArpPacket packet;
};
const ArpCase kArpCases[] = {
    {kArpRequestText,
     MacAddress::Broadcast(),
     0x0806,
     {ArpOperation::Request, kOther, kOtherIp, {}, kGuestIp}},
    {kArpReplyText, kOther, 0x0806, {ArpOperation::Reply, kGuest, kGuestIp, kOther, kOtherIp}},
    {kRarpRequestText,
     MacAddress::Broadcast(),
     0x8035,
     {ArpOperation::ReverseRequest, kGuest, {}, kGuest, {}}},
    {kRarpReplyText, kGuest, 0x8035, {ArpOperation::ReverseReply, kOther, kOtherIp, kGuest, kGuestIp}},
};

TEST(Packets, ArpAndRarpBothWays) {
    for (const auto& [golden, destination, etherType, packet] : kArpCases) {
        const Frame expected = Hex(golden);
        const ArpFrame made = MakeArpFrame(destination, packet);
        EXPECT_EQ(Frame(made.begin(), made.end()), expected) << golden;

        const auto ethernet = ConstEthernetView::Over(expected);
        EXPECT_EQ(std::tuple(ethernet->Destination(), ethernet->Source(), ethernet->EtherType()),
                  std::tuple(destination, packet.senderMac, etherType));
        const auto arp = ConstArpView::OverEthernetIpv4(std::span(expected).subspan(EthernetView::kLength));
        ASSERT_TRUE(arp) << golden;
        EXPECT_EQ(std::tuple(arp->Operation(), arp->SenderHardwareAddress(), arp->SenderProtocolAddress(),
                             arp->TargetHardwareAddress(), arp->TargetProtocolAddress()),
                  std::tuple(packet.operation, packet.senderMac, packet.senderIp, packet.targetMac,
                             packet.targetIp));
    }
}

TEST(Packets, ArpOfOtherAddressesIsRefused) {
    const Frame sound = Hex(kArpReplyText);
    for (const std::size_t at : {14, 15, 16, 17, 18, 19}) { // hardware and protocol, their lengths
        Frame other = sound;
        other[at] ^= 0x04;
        const auto payload = std::span<const std::uint8_t>(other).subspan(EthernetView::kLength);
        EXPECT_TRUE(ConstArpView::Over(payload));
        EXPECT_FALSE(ConstArpView::OverEthernetIpv4(payload)) << at;
    }
}

TEST(Packets, NoViewExistsOverTooFewBytes) {
    const Frame bytes(28);
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
        const auto part = std::span(bytes).first(length);
        EXPECT_EQ(ConstEthernetView::Over(part).has_value(), length >= 14) << length;
        EXPECT_EQ(ConstArpView::Over(part).has_value(), length >= 28) << length;
        EXPECT_EQ(ConstIpv4View::Over(part).has_value(), length >= 20) << length;
        EXPECT_EQ(ConstIcmpEchoView::Over(part).has_value(), length >= 8) << length;
    }
}

TEST(Packets, EchoBothWays) {
    const Frame expected = Hex(kEchoText);
    Frame made(expected.size(), 0xAA);
    auto ip = Ipv4View::Over(made);
    ip->Emit({.totalLength = 32, .identification = 0x1234, .source = kOtherIp, .destination = kGuestIp});
    ip->Seal();
    const auto message = std::span(made).subspan(Ipv4View::kLength);
    auto icmp = IcmpEchoView::Over(message);
    icmp->SetType(kIcmpEchoRequest);
    icmp->SetCode(0);
    icmp->SetIdentifier(0x0102);
    icmp->SetSequenceNumber(0x0304);
    std::ranges::copy(Hex("61626364"), message.begin() + IcmpEchoView::kLength);
    SealIcmp(message);
    EXPECT_EQ(made, expected);

    const auto read = ConstIpv4View::Over(expected);
    EXPECT_EQ(std::tuple(read->Version(), read->HeaderLength(), read->TypeOfService(), read->TotalLength(),
                         read->TimeToLive(), read->Protocol(), read->Checksum()),
              std::tuple(4, 5, 0, 32, 64, kIpProtocolIcmp, 0x14A5));
    EXPECT_TRUE(read->Source() == kOtherIp && read->Destination() == kGuestIp && read->HasRightChecksum());
    const auto echo = ConstIcmpEchoView::Over(std::span(expected).subspan(Ipv4View::kLength));
    EXPECT_EQ(
        std::tuple(echo->Type(), echo->Code(), echo->Checksum(), echo->Identifier(), echo->SequenceNumber()),
        std::tuple(kIcmpEchoRequest, 0, 0x2F33, 0x0102, 0x0304));
    EXPECT_EQ(SwapNetwork16(echo->RawIdentifier()), 0x0102);
    EXPECT_EQ(SwapNetwork16(echo->RawSequenceNumber()), 0x0304);
    made[8] ^= 1;
    EXPECT_FALSE(ip->HasRightChecksum());
}

// Flags and offset, as three parties see them: a careful host, the guest, and who looks for a message's
// begin.
TEST(Packets, FragmentsAreTold) {
    struct Case {
        std::uint8_t first, second;
        bool fragment, looksFragmented, later;
    };
    for (const auto& [first, second, fragment, looksFragmented, later] :
         {Case{0x00, 0x00, false, false, false},
          {0x40, 0x00, false, true, false}, // Don't-Fragment
          {0x20, 0x00, true, true, false},
          {0x20, 0xB9, true, true, true},
          {0x00, 0xB9, true, true, true},
          {0x00, 0xC0, true, false, true},
          {0x80, 0x00, false, true, false}}) {
        Frame packet = Hex(kEchoText);
        packet[6] = first;
        packet[7] = second;
        const auto ip = ConstIpv4View::Over(packet);
        EXPECT_EQ(ip->IsFragment(), fragment) << +first << ' ' << +second;
        EXPECT_EQ(ip->LooksFragmented(), looksFragmented) << +first << ' ' << +second;
        EXPECT_EQ(ip->IsLaterFragment(), later) << +first << ' ' << +second;
    }
}

TEST(Packets, AVlanTagStandsBehindTheAddresses) {
    Frame frame = Hex("AAAAAAAA" + std::string(kArpReplyText));
    InsertVlanTag(std::span(frame).first<16>(), kEtherTypeVlan, 0x2007);
    EXPECT_EQ(frame, Hex("001122334455 02005E800004 8100 2007 0806 0001 0800 06 04 0002"
                         "02005E800004 0A000004 001122334455 0A000001"));
    EXPECT_EQ(MulticastMac({239, 129, 2, 3}), MacAddress({0x01, 0x00, 0x5E, 0x01, 0x02, 0x03}));
}

} // namespace
} // namespace vnxtest
