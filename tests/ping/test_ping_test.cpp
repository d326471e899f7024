#include <cerrno>
#include <regex>
#include <thread>

#include <gmock/gmock.h>

#include "ping/ping_test.h"
#include "ping/receive_path.h"
#include "support/output_fixture.h"
#include "support/packets.h"
#include "support/quiet_host.h"
#include "wrenlib/errors.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

using ::testing::HasSubstr, ::testing::Not;

// Runs the real test over a library whose answers the test decides; they take effect on the
// writing thread's heels, as on a fast network.
class PingTestTest : public InterfaceFixture {
protected:
    PingTestTest() { m_pingTest.KeepRecords(true); }
    ~PingTestTest() override { m_pingTest.StopPingTest(); }

    // The n-th request written, from 0, once there is one.
    Frame Request(std::size_t index) {
        while (m_library.Written().size() <= index) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return m_library.Written()[index];
    }

    void Reply(std::size_t index, std::uint8_t flags = 0) {
        Frame packet = Request(index);
        std::swap_ranges(packet.begin() + 12, packet.begin() + 16, packet.begin() + 16);
        packet[20] = 0;
        packet[6] = flags;
        MendChecksums(packet);
        Frame storage(ReceivedPacket::kHeadroom);
        storage.insert(storage.end(), packet.begin(), packet.end());
        m_path.HandleReceivedPacket(m_info, ReceivedPacket(storage));
    }

    void Start() { m_pingTest.Start(m_info, m_parameters); }
    std::string Finish() {
        EXPECT_TRUE(m_view.WaitFor(ViewMessage::PingWaitThreadEnded, ++m_finished));
        m_pingTest.OnPingThreadEnded();
        m_pingTest.OnPingWaitThreadEnded();
        EXPECT_FALSE(m_pingTest.IsRunning());
        return TakeText();
    }

    RunSettings m_run;
    PingParameters m_parameters{Ipv4Address(10, 1, 2, 1), L"", 32, 3, 500, 0};
    QuietHost m_host{m_library};
    PingTest m_pingTest{m_host.network, m_view};
    ReceivePath m_path{m_host.network, m_run, m_pingTest};
    int m_finished = 0;
};

TEST_F(PingTestTest, ReportsASuccessfulTestToTheLetter) {
    m_parameters.targetName = L"peer";
    m_parameters.dataSize = 40;
    Start();
    for (std::size_t n = 0; n < 3; ++n) {
        Reply(n);
    }
    // How the reply lines interleave with the sending lines, and how long a reply took, is the
    // scheduler's; everything else is fixed.
    const std::string text =
        std::regex_replace(std::regex_replace(Finish(), std::regex("time=(<1|\\d+)ms"), "time=T"),
                           std::regex("\\(Min.*\\)"), "(T)");
    for (const std::string number : {"1", "2", "3"}) {
        EXPECT_THAT(text, HasSubstr(" Sending ping #" + number + " bytes=40 to peer [10.1.2.1]...\n"));
        EXPECT_THAT(text, HasSubstr(" Reply to ping #" + number +
                                    " received from 10.1.2.1: bytes=40 time=T TTL=64\n"));
    }
    EXPECT_THAT(
        text, HasSubstr("\n** START PING TEST **\n\n ping  -c 3  -i 0  -s 40  -w 500  peer [10.1.2.1]\n\n"));
    EXPECT_THAT(text, HasSubstr("\n Ping statistics for peer [10.1.2.1]:\n\n"
                                "     3 Pings Sent\n"
                                "     3 Replies Received (T)\n"
                                "     0 Pings Timeouts\n"
                                "     0 Duplicate Replies\n"
                                "     0 Pings Lost (0%)\n\n"
                                " Ping test successful.\n"
                                "\n** END PING TEST **\n\n"));
}

TEST_F(PingTestTest, SilentTargetTimesOutOncePerPing) {
    m_parameters.timeout = 30;
    Start();
    Reply(1, 0x40); // with Don't-Fragment: as if it had not come
    const std::string text = Finish();
    for (const std::string number : {"1", "2", "3"}) {
        EXPECT_THAT(text, HasSubstr(" Ping #" + number + " has timed out.\n"));
    }
    EXPECT_THAT(text, HasSubstr("     0 Replies Received (Minimum = 0ms, Maximum = 0ms, Average = 0ms)\n"
                                "     3 Pings Timeouts\n"
                                "     0 Duplicate Replies\n"
                                "     3 Pings Lost (100%)\n\n Ping test has FAILED.\n"));
    EXPECT_EQ(m_info.counters.ignored[2], 1U);
}

TEST_F(PingTestTest, LateAndDuplicateRepliesAreCountedToTheEndOfTheGrace) {
    m_parameters.numPings = 2;
    m_parameters.timeout = 20;
    Start();
    Request(1);
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    Reply(0);
    Reply(0);
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    Reply(1);
    const std::string text = Finish();
    for (const std::string what : {"Reply to ping #1", "Reply #2 to ping #1", "Reply to ping #2"}) {
        const std::regex line(" " + what + " received .* \\(\\d+ms late\\)\n");
        EXPECT_TRUE(std::regex_search(text, line)) << what << '\n' << text;
    }
    EXPECT_THAT(text, HasSubstr("     2 Pings Timeouts\n     1 Duplicate Replies\n     0 Pings Lost (0%)\n\n"
                                " Ping test successful.\n"));
}

TEST_F(PingTestTest, NextTestGoesOnWithTheSequenceAndNumbersFromOne) {
    m_parameters.numPings = 2;
    m_parameters.timeout = 0;
    Start();
    Finish();
    Start();
    const std::string text = Finish();
    EXPECT_THAT(text, HasSubstr("Sending ping #1 "));
    const auto field = [](const Frame& packet, std::size_t at) { return packet[at] * 256 + packet[at + 1]; };
    EXPECT_EQ(field(Request(0), 24), field(Request(3), 24));
    EXPECT_LE(field(Request(0), 24), 32767);
    for (std::size_t n = 1; n < 4; ++n) {
        EXPECT_EQ((field(Request(n), 26) - field(Request(0), 26)) & 0xFFFF, static_cast<int>(n));
    }
    // A reply to the first test belongs to no ping of the second.
    Reply(0);
    EXPECT_EQ(TakeText(), "");
}

TEST_F(PingTestTest, StopDuringTheDelayCountsWhatWasSentAndEmptiesTheList) {
    m_parameters.delay = 10000;
    Start();
    Reply(0);
    m_pingTest.StopPingTest();
    const std::string text = TakeText();
    EXPECT_THAT(text, HasSubstr("     1 Pings Sent\n     1 Replies Received"));
    EXPECT_THAT(text, HasSubstr("** END PING TEST **\n"));
    EXPECT_TRUE(m_pingTest.CopyPings(0).empty());
    EXPECT_FALSE(m_pingTest.IsRunning());
}

TEST_F(PingTestTest, AWriteFailureEndsTheTest) {
    m_library.failWrite = EMSGSIZE;
    Start();
    EXPECT_TRUE(m_view.WaitFor(ViewMessage::PingThreadEnded));
    m_pingTest.OnPingThreadEnded();
    EXPECT_FALSE(m_pingTest.IsRunning()); // no ping was sent: no statistics
    const std::string text = TakeText();
    EXPECT_THAT(text, HasSubstr(ToUtf8(Sprintf(L"errno=%d: %s", EMSGSIZE, StrError(EMSGSIZE))) +
                                "\n\n***  Ping #1 failed; abort  ***\n\n"));
    EXPECT_THAT(text, Not(HasSubstr("END PING TEST")));
    EXPECT_TRUE(m_pingTest.Result().writeFailed);
    m_library.failWrite = 0;
    m_parameters.timeout = 0;
    Start();
    EXPECT_THAT(Finish(), HasSubstr("     3 Pings Sent\n"));
}

TEST_F(PingTestTest, CountZeroRunsUntilStopped) {
    m_parameters.numPings = 0;
    m_parameters.timeout = 10000;
    m_pingTest.KeepRecords(false);
    Start();
    Request(2000);
    m_pingTest.StopPingTest();
    EXPECT_THAT(TakeText(), HasSubstr("** END PING TEST **\n"));
    EXPECT_EQ(m_view.Count(ViewMessage::PingWaitThreadEnded), 1);
}

} // namespace
} // namespace vnxtest
