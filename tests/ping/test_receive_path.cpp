#include <cerrno>
#include <chrono>
#include <future>
#include <thread>

#include "ping/receive_path.h"
#include "support/output_fixture.h"
#include "support/packets.h"
#include "wrenlib/errors.h"
#include "wrenlib/text.h"

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

    RunSettings m_run;
    PacketWriter m_writer{m_library, [](Ipv4Address) { return Ipv4Address(); }};
    PingTest m_pingTest{m_library, m_writer, m_run, m_view};
    ReceivePath m_path{m_library, m_writer, m_run, m_pingTest};
};

// What else there is to ARP and RARP: tests/e2e/test_answers.py.
TEST_F(ReceivePathTest, ReportsThatAnArpAnswerCannotBeWrittenAndKeepsErrno) {
    m_info.asked.tapMode = true;
    m_library.failWrite = ENETDOWN;
    const std::string text = Receive(Hex("FFFFFFFFFFFF 020000000001 0806 0001 0800 06 04 0001 020000000001 "
                                         "0A010201 000000000000 0A01026F"));
    EXPECT_EQ(errno, ENETDOWN);
    EXPECT_EQ(text, "** CVNXTestView(vnx0)::HandleTapARPPacket: WRITING ARP response...\n"
                    "** CVNXTestView(vnx0)::HandleTapARPPacket: vnetx32_write failed; " +
                        ToUtf8(Sprintf(L"rc=%d: %s\n", ENETDOWN, FormatLastError(ENETDOWN))));
    EXPECT_EQ(m_info.counted.arpRequestsAnswered, 0U);
}

TEST_F(ReceivePathTest, GoesOnWithALengthThatDoesNotFitAndWithBitsThatMeanNothing) {
    // Padded to the Ethernet minimum: the padding is reported, sent back and outside the checksum. A total
    // length beyond what came, and one below the headers, read nothing that is not there.
    Frame padded = EchoPacket(8);
    padded.resize(46);
    std::fill(padded.begin() + 32, padded.end(), std::uint8_t{'p'});
    EXPECT_NE(Receive(padded).find("** Assertion Failed **\n** Someone is PINGing Vant!"), std::string::npos);
    const Frame sentBack = m_library.Written().at(0);
    EXPECT_EQ(sentBack.size(), 46U);
    EXPECT_TRUE(std::equal(padded.begin() + 24, padded.end(), sentBack.begin() + 24));
    for (const std::uint16_t length : {std::uint16_t{0xFFFF}, std::uint16_t{5}}) {
        Frame wrong = EchoPacket(8);
        PutBe16(wrong, 2, length);
        MendChecksums(wrong);
        EXPECT_NE(Receive(wrong).find("** Assertion Failed **"), std::string::npos);
    }
    Frame odd = EchoPacket(8);
    odd[7] = 0xC0; // no part of the fragment test
    MendChecksums(odd);
    EXPECT_NE(Receive(odd).find("Someone is PINGing Vant!"), std::string::npos);
}

// Neither sum is made anew: the addresses change places, and the type's share goes. 0 and 0xFFFF are the same
// sum but not the same bytes.
TEST_F(ReceivePathTest, AReplyHasTheChecksumsOfItsBytes) {
    m_info.asked.tapMode = false;
    for (const unsigned sum : {0u, 1u, 0x7FFu, 0x800u, 0xF7FEu, 0xF7FFu, 0xF800u, 0xFFFEu, 0xFFFFu}) {
        const auto word = static_cast<std::uint16_t>(sum);
        Frame request = EchoPacket(8);
        std::fill(request.begin() + 24, request.end(), std::uint8_t{0});
        PutBe16(request, 26, word);
        MendChecksums(request);
        Receive(request);
        Frame reply = m_library.Written().back();
        reply.erase(reply.begin(), reply.end() - static_cast<std::ptrdiff_t>(request.size()));
        Frame wanted = reply;
        MendChecksums(wanted);
        EXPECT_EQ(reply, wanted) << word;
        EXPECT_EQ(reply[20], 0U);
    }
}

// The line is written when the answer is on its way, and still stands before all that the answer brings.
TEST_F(ReceivePathTest, TheLineOfAnAnswerStandsBeforeThatOfItsFailure) {
    m_info.asked.tapMode = false;
    m_library.failWrite = ENETDOWN;
    const std::string text = Receive(EchoPacket(8));
    EXPECT_TRUE(text.starts_with("** Someone is PINGing Vant!\n** Sending PING reply to 10.1.2.1\n** "))
        << text;
    EXPECT_NE(text.find("vnetx32_write failed"), std::string::npos);
    EXPECT_EQ(m_info.counted.echoRequestsAnswered, 0U);
}

// What advice rests on: only pings for the guest count, by what was wrong with each, and who sent them.
TEST_F(ReceivePathTest, RemembersWhatWasWrongWithPingsForTheGuestAndWhoSentThem) {
    m_info.asked.tapMode = false;
    const auto sent = [](const std::function<void(Frame&)>& change) {
        Frame packet = EchoPacket(8);
        change(packet);
        return packet;
    };
    const auto sealed = [&sent](std::size_t offset, std::uint8_t value) {
        return sent([=](Frame& packet) {
            packet[offset] = value;
            MendChecksums(packet);
        });
    };
    const Frame reply = EchoPacket(0);
    // An ICMP error with `code` about a message of `type` of the guest's.
    const auto error = [](std::uint8_t code, std::uint8_t type) {
        Frame quoted = EchoPacket(type);
        std::swap_ranges(quoted.begin() + 12, quoted.begin() + 16, quoted.begin() + 16);
        Frame packet = EchoPacket(3);
        packet[21] = code;
        packet.resize(28);
        packet.insert(packet.end(), quoted.begin(), quoted.begin() + 28);
        packet[3] = static_cast<std::uint8_t>(packet.size());
        MendChecksums(packet);
        return packet;
    };
    const struct {
        const char* name;
        Frame packet;
        std::optional<IgnoredPing> kind;
    } cases[] = {
        {"DF", sealed(6, 0x40), IgnoredPing::RequestDontFragment},
        {"DF, and the IP checksum", sent([](Frame& packet) { packet[6] = 0x40; }),
         IgnoredPing::BadIpChecksum},
        {"DF, with IP options",
         sent([](Frame& packet) { packet[0] = 0x46, packet[6] = 0x40, packet[24] = 8, packet[25] = 0; }),
         IgnoredPing::RequestWithOptions},
        {"DF, for another", sent([](Frame& packet) { packet[6] = 0x40, packet[19] = 1; }), std::nullopt},
        {"DF, not ICMP", sent([](Frame& packet) { packet[6] = 0x40, packet[9] = 6; }), std::nullopt},
        {"DF, another ICMP", sent([](Frame& packet) { packet[6] = 0x40, packet[20] = 3; }), std::nullopt},
        {"reserved bit", sealed(6, 0x80), std::nullopt},
        {"first fragment", sealed(6, 0x20), IgnoredPing::Fragment},
        {"later fragment", sent([](Frame& packet) { packet[7] = 1, packet[20] = 77; }),
         IgnoredPing::Fragment},
        {"no data", sent([](Frame& packet) { packet.resize(28); }), IgnoredPing::RequestWithoutData},
        {"cut short", sent([](Frame& packet) { packet.resize(27); }), std::nullopt},
        {"IP options", sent([](Frame& packet) { packet[0] = 0x46, packet[24] = 8, packet[25] = 0; }),
         IgnoredPing::RequestWithOptions},
        {"IP options beyond the end", sent([](Frame& packet) { packet[0] = 0x4F; }), std::nullopt},
        {"IP checksum", sent([](Frame& packet) { packet[10] ^= 1; }), IgnoredPing::BadIpChecksum},
        {"ICMP checksum", sent([](Frame& packet) { packet[31] ^= 1; }), IgnoredPing::BadIcmpChecksum},
        {"unreachable", error(1, 8), IgnoredPing::ErrorUnreachable},
        {"unreachable, about a reply", error(1, 0), std::nullopt},
        {"unreachable, about nothing", sent([](Frame& packet) { packet[20] = 3, packet[21] = 1; }),
         std::nullopt},
        {"too large", error(4, 8), IgnoredPing::ErrorTooLarge},
        {"a reply nobody asked for", reply, IgnoredPing::ReplyForeign},
    };
    for (const auto& [name, packet, kind] : cases) {
        m_info.counted.Clear();
        Receive(packet);
        for (std::size_t each = 0; each < kIgnoredPingKinds; ++each) {
            const auto which = static_cast<IgnoredPing>(each);
            EXPECT_EQ(m_info.counted.ignoredPings.Read(which).count, which == kind ? 1U : 0U) << name << each;
        }
    }
}

// The library asks a silent target for as long as an ARP exchange takes. Whoever records a reply meanwhile,
// on the thread that reads, needs the ping list.
TEST_F(ReceivePathTest, AReaderNeedNotWaitForTheTargetsAddress) {
    m_info.asked.tapMode = true;
    std::thread reader;
    bool waited = true;
    m_library.onArpRequest = [&] {
        std::promise<void> promise;
        const std::future<void> done = promise.get_future();
        reader = std::thread([this, promise = std::move(promise)]() mutable {
            m_pingTest.RecordReply({0, 0, Ipv4Address(10, 1, 2, 1), 32, 64});
            promise.set_value();
        });
        waited = done.wait_for(std::chrono::seconds(5)) != std::future_status::ready;
    };
    ASSERT_TRUE(m_pingTest.Start(
        m_info, {.target = Ipv4Address(10, 1, 2, 1), .targetName = L"", .numPings = 1, .delay = 0}));
    EXPECT_TRUE(m_view.WaitFor(ViewMessage::PingThreadEnded));
    m_pingTest.StopPingTest();
    ASSERT_TRUE(reader.joinable());
    reader.join();
    EXPECT_FALSE(waited);
}

} // namespace
} // namespace vnxtest
