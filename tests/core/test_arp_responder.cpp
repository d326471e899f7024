#include <cerrno>

#include "core/arp_responder.h"
#include "support/output_fixture.h"
#include "support/packets.h"
#include "wrenlib/errors.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

const Frame kQuestion =
    Hex("FFFFFFFFFFFF 020000000001 0806 0001 0800 06 04 0001 020000000001 0A010201 000000000000 0A01026F");

class ArpResponderTest : public InterfaceFixture {
protected:
    void Arp(Frame frame) { HandleTapARPPacket(m_info, m_library, frame); }
    void Rarp(Frame frame) { HandleTapRARPPacket(m_info, m_library, frame); }
};

TEST_F(ArpResponderTest, AnswersAReverseRequestByteForByte) {
    // The frame comes from a relay: the reply goes to the sender hardware address, not the frame's source.
    Rarp(Hex(
        "FFFFFFFFFFFF 020000000001 8035 0001 0800 06 04 0003 020000000002 00000000 02005E81026F 00000000"));
    ASSERT_EQ(m_library.Written().size(), 1U);
    EXPECT_EQ(m_library.Written()[0], Hex("020000000002 02005E81026F 8035 0001 0800 06 04 0004 02005E81026F "
                                          "0A01026F 02005E81026F 0A01026F"));
    EXPECT_EQ(TakeText(), "** CVNXTestView(vnx0)::HandleTapRARPPacket: WRITING RARP response...\n");
}

TEST_F(ArpResponderTest, ReportsAWriteFailureAndKeepsErrno) {
    m_library.failWrite = ENETDOWN;
    Arp(kQuestion);
    EXPECT_EQ(errno, ENETDOWN);
    EXPECT_EQ(TakeText(), "** CVNXTestView(vnx0)::HandleTapARPPacket: WRITING ARP response...\n"
                          "** CVNXTestView(vnx0)::HandleTapARPPacket: vnetx32_write failed; " +
                              ToUtf8(Sprintf(L"rc=%d: %s\n", ENETDOWN, FormatLastError(ENETDOWN))));
    EXPECT_EQ(m_info.counters.arpRequestsAnswered, 0U);
}

} // namespace
} // namespace vnxtest
