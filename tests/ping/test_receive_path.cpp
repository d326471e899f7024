#include "ping/receive_path.h"
#include "support/output_fixture.h"
#include "support/packets.h"
#include "support/quiet_host.h"

namespace vnxtest {
namespace {

class ReceivePathTest : public InterfaceFixture {
protected:
    ReceivePathTest() { m_run.debugMode = true; }

    // Hands `packet` in, with the headroom that a monitor thread gives, and returns the text.
    std::string Receive(const Frame& packet) {
        Frame storage(ReceivedPacket::kHeadroom);
        storage.insert(storage.end(), packet.begin(), packet.end());
        m_path.HandleReceivedPacket(m_info, ReceivedPacket(storage));
        return TakeText();
    }
    std::string ReceiveChanged(Frame packet, std::size_t offset, std::uint8_t value, bool mend = true) {
        packet[offset] = value;
        if (mend) {
            MendChecksums(packet);
        }
        return Receive(packet);
    }

    RunSettings m_run;
    QuietHost m_host{m_library};
    PingTest m_pingTest{m_host.network, m_view};
    ReceivePath m_path{m_host.network, m_run, m_pingTest};
};

std::string Ignored(const std::string& reason) {
    return "Packet was ignored (" + reason + ")\n";
}

TEST_F(ReceivePathTest, NamesTheFirstTestThatFails) {
    const Frame echo = EchoPacket(8);
    EXPECT_EQ(Receive(Frame(echo.begin(), echo.begin() + 28)), Ignored("Too tiny"));
    EXPECT_EQ(Receive(Frame(1)), Ignored("Too tiny"));
    EXPECT_EQ(ReceiveChanged(echo, 6, 0x40), Ignored("Fragmented")); // Don't-Fragment
    EXPECT_EQ(ReceiveChanged(echo, 6, 0x20), Ignored("Fragmented")); // More-Fragments
    EXPECT_EQ(ReceiveChanged(echo, 7, 0x01), Ignored("Fragmented"));
    EXPECT_EQ(ReceiveChanged(echo, 0, 0x65), Ignored("Bad IP hdr version"));
    EXPECT_EQ(ReceiveChanged(echo, 0, 0x46), Ignored("Bad IP hdr length"));
    EXPECT_EQ(ReceiveChanged(echo, 9, 17), Ignored("Not ICMP"));
    EXPECT_EQ(ReceiveChanged(echo, 20, 3), Ignored("Not ping"));
    EXPECT_EQ(ReceiveChanged(echo, 21, 1), Ignored("Bad ICMP code"));
    EXPECT_EQ(ReceiveChanged(echo, 8, 63, false), Ignored("Bad IP hdr checksum"));
    EXPECT_EQ(ReceiveChanged(echo, 30, 0, false), Ignored("Bad ICMP checksum"));
    EXPECT_EQ(ReceiveChanged(echo, 19, 112), Ignored("Not ping for us"));
    EXPECT_EQ(ReceiveChanged(EchoPacket(0), 19, 112), Ignored("Not reply for us"));
    for (std::size_t reason = 1; reason < kIgnoreReasons; ++reason) {
        EXPECT_GE(m_info.counters.ignored[reason], 1U) << reason;
    }
    EXPECT_STREQ(IgnoreReasonText(12), L"(unknown)");
    m_run.debugMode = false;
    EXPECT_EQ(ReceiveChanged(echo, 19, 112), "");
    EXPECT_EQ(Receive(EchoPacket(0)), "") << "a reply to no ping";
    EXPECT_TRUE(m_library.Written().empty());
}

TEST_F(ReceivePathTest, AnswersInTunModeByteForByte) {
    EXPECT_EQ(Receive(EchoPacket(8)), "** Someone is PINGing Vant!\n** Sending PING reply to 10.1.2.1\n");
    Frame expected = Hex("4500 0020 1234 0000 40 01 0000 0A01026F 0A010201 00 00 0000 0102 0304 61626364");
    MendChecksums(expected);
    ASSERT_EQ(m_library.Written().size(), 1U);
    EXPECT_EQ(m_library.Written()[0], expected);
    EXPECT_EQ(m_info.counters.echoRequestsAnswered, 1U);
    // The two high bits of the offset byte are no part of the fragment test.
    EXPECT_NE(ReceiveChanged(EchoPacket(8), 7, 0xC0).find("Someone is PINGing Vant!"), std::string::npos);
}

TEST_F(ReceivePathTest, SortsFramesByTypeAndDropsShortOnes) {
    m_info.tapMode = true;
    EXPECT_EQ(Receive(Hex("02005E81026F 020202020202 86DD 60000000")), Ignored("Unknown packet"));
    EXPECT_EQ(Receive(Hex("02005E81026F 020202020202 8100 0001 0800")), Ignored("Unknown packet"));
    EXPECT_EQ(Receive(Hex("02005E81026F 0202020202")), Ignored("Too tiny"));
    EXPECT_EQ(Receive(Hex("02005E81026F 020202020202 0800")), Ignored("Too tiny"));
    EXPECT_EQ(Receive(Hex("02005E81026F 020202020202 0806 0001")), "");
}

TEST_F(ReceivePathTest, GoesOnWithALengthThatDoesNotFit) {
    // Padded to the Ethernet minimum: the padding is reported, sent back and outside the checksum. A total
    // length beyond what came, and one below the headers, read nothing that is not there.
    Frame padded = EchoPacket(8);
    padded.resize(46);
    EXPECT_NE(Receive(padded).find("** Assertion Failed **\n** Someone is PINGing Vant!"), std::string::npos);
    for (const std::uint16_t length : {std::uint16_t{0xFFFF}, std::uint16_t{5}}) {
        Frame wrong = EchoPacket(8);
        PutBe16(wrong, 2, length);
        MendChecksums(wrong);
        EXPECT_NE(Receive(wrong).find("** Assertion Failed **"), std::string::npos);
    }
}

} // namespace
} // namespace vnxtest
