#include <cerrno>

#include "core/arp_responder.h"
#include "support/output_fixture.h"
#include "support/packets.h"

namespace vnxtest {
namespace {

class ArpResponderTest : public OutputFixture {
protected:
    ArpResponderTest() {
        m_info.handle = 3;
        m_info.name = L"vnx0";
        m_info.tapMode = true;
        m_info.guestIp = Ipv4Address(10, 1, 2, 111);
        m_info.guestMac = MacAddress({2, 0, 0x5E, 0x81, 2, 0x6F});
    }

    void Arp(Frame frame) { HandleTapARPPacket(m_info, m_library, frame); }
    void Rarp(Frame frame) { HandleTapRARPPacket(m_info, m_library, frame); }

    INTERFACE_INFO m_info;
};

TEST_F(ArpResponderTest, AnswersARequestByteForByte) {
    Frame request = Hex(
        "FFFFFFFFFFFF 020000000001 0806 0001 0800 06 04 0001 020000000001 0A010201 000000000000 0A01026F");
    request.resize(60); // padded to the Ethernet minimum
    Arp(request);
    ASSERT_EQ(m_library.Written().size(), 1U);
    EXPECT_EQ(m_library.Written()[0], Hex("020000000001 02005E81026F 0806 0001 0800 06 04 0002 02005E81026F "
                                          "0A01026F 020000000001 0A010201"));
    EXPECT_EQ(TakeText(), "** CVNXTestView(vnx0)::HandleTapARPPacket: WRITING ARP response...\n");
    EXPECT_EQ(m_info.counters.arpRequestsAnswered, 1U);
}

TEST_F(ArpResponderTest, AnswersAReverseRequestByteForByte) {
    // The frame comes from a relay: the reply goes to the sender hardware address, not the frame's source.
    Rarp(Hex(
        "FFFFFFFFFFFF 020000000001 8035 0001 0800 06 04 0003 020000000002 00000000 02005E81026F 00000000"));
    ASSERT_EQ(m_library.Written().size(), 1U);
    EXPECT_EQ(m_library.Written()[0], Hex("020000000002 02005E81026F 8035 0001 0800 06 04 0004 02005E81026F "
                                          "0A01026F 02005E81026F 0A01026F"));
    EXPECT_EQ(TakeText(), "** CVNXTestView(vnx0)::HandleTapRARPPacket: WRITING RARP response...\n");
}

TEST_F(ArpResponderTest, DropsSilentlyWhatIsNotForTheGuest) {
    const Frame good = Hex(
        "FFFFFFFFFFFF 020000000001 0806 0001 0800 06 04 0001 020000000001 0A010201 000000000000 0A01026F");
    struct Change {
        std::size_t offset;
        std::uint8_t value;
    };
    for (const Change change : {Change{15, 6}, {16, 9}, {18, 8}, {19, 6}, {21, 2}, {21, 3}, {41, 0x70}}) {
        Frame frame = good;
        frame[change.offset] = change.value;
        Arp(frame);
    }
    Frame cut = good;
    cut.resize(41);
    Arp(cut);
    Frame elsewhere = good;
    std::fill_n(elsewhere.begin(), 6, std::uint8_t{4});
    Arp(elsewhere);
    Arp({});
    Frame reverse = Hex(
        "FFFFFFFFFFFF 020000000001 8035 0001 0800 06 04 0003 020000000002 00000000 02005E810270 00000000");
    Rarp(reverse);
    EXPECT_TRUE(m_library.Written().empty());
    EXPECT_EQ(TakeText(), "");
}

TEST_F(ArpResponderTest, ReportsAWriteFailureAndKeepsErrno) {
    m_library.failWrite = ENETDOWN;
    Arp(Hex(
        "FFFFFFFFFFFF 020000000001 0806 0001 0800 06 04 0001 020000000001 0A010201 000000000000 0A01026F"));
    EXPECT_EQ(errno, ENETDOWN);
    EXPECT_EQ(TakeText(),
              "** CVNXTestView(vnx0)::HandleTapARPPacket: WRITING ARP response...\n"
              "** CVNXTestView(vnx0)::HandleTapARPPacket: vnetx32_write failed; rc=100: Network is down\n");
    EXPECT_EQ(m_info.counters.arpRequestsAnswered, 0U);
}

} // namespace
} // namespace vnxtest
