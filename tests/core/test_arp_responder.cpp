#include <cerrno>

#include "core/arp_responder.h"
#include "support/output_fixture.h"
#include "support/packets.h"

namespace vnxtest {
namespace {

const Frame kQuestion =
    Hex("FFFFFFFFFFFF 020000000001 0806 0001 0800 06 04 0001 020000000001 0A010201 000000000000 0A01026F");

class ArpResponderTest : public InterfaceFixture {
protected:
    void Arp(Frame frame) { HandleTapARPPacket(m_info, m_library, frame); }
    void Rarp(Frame frame) { HandleTapRARPPacket(m_info, m_library, frame); }
};

TEST_F(ArpResponderTest, AnswersARequestByteForByte) {
    Frame request = kQuestion;
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
    using Change = std::pair<std::size_t, std::uint8_t>;
    for (const auto& [offset, value] :
         {Change{0, 4}, {15, 6}, {16, 9}, {18, 8}, {19, 6}, {21, 2}, {21, 3}, {41, 0x70}}) {
        Frame frame = kQuestion;
        frame[offset] = value;
        Arp(frame);
    }
    Arp(Frame(kQuestion.begin(), kQuestion.begin() + 41));
    Arp({});
    Rarp(Hex(
        "FFFFFFFFFFFF 020000000001 8035 0001 0800 06 04 0003 020000000002 00000000 02005E810270 00000000"));
    EXPECT_TRUE(m_library.Written().empty());
    EXPECT_EQ(TakeText(), "");
}

TEST_F(ArpResponderTest, ReportsAWriteFailureAndKeepsErrno) {
    m_library.failWrite = ENETDOWN;
    Arp(kQuestion);
    EXPECT_EQ(errno, ENETDOWN);
    EXPECT_EQ(TakeText(),
              "** CVNXTestView(vnx0)::HandleTapARPPacket: WRITING ARP response...\n"
              "** CVNXTestView(vnx0)::HandleTapARPPacket: vnetx32_write failed; rc=100: Network is down\n");
    EXPECT_EQ(m_info.counters.arpRequestsAnswered, 0U);
}

} // namespace
} // namespace vnxtest
