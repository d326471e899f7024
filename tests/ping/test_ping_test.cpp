#include <cerrno>
#include <regex>
#include <thread>

#include "ping/ping_test.h"
#include "ping/receive_path.h"
#include "support/output_fixture.h"
#include "support/packets.h"
#include "support/quiet_host.h"

namespace vnxtest {
namespace {

// Runs the real test over a library whose answers the test decides; they take effect on the
// writing thread's heels, as on a fast network.
class PingTestTest : public OutputFixture {
protected:
    PingTestTest() {
        m_info.handle = 3;
        m_info.name = L"vnx0";
        m_info.guestIp = Ipv4Address(10, 1, 2, 111);
        m_library.onWrite = [this](const Frame& packet) {
            const std::lock_guard lock(m_lock);
            m_requests.push_back(packet);
        };
        m_parameters.target = Ipv4Address(10, 1, 2, 1);
        m_parameters.delay = 0;
        m_pingTest.KeepRecords(true);
    }
    ~PingTestTest() override { m_pingTest.StopPingTest(); }

    // The n-th request written, from 0, once there is one.
    Frame Request(std::size_t index) {
        while (true) {
            {
                const std::lock_guard lock(m_lock);
                if (m_requests.size() > index) {
                    return m_requests[index];
                }
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
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

    static bool Has(const std::string& text, const std::string& what) {
        return text.find(what) != std::string::npos;
    }

    std::mutex m_lock;
    std::vector<Frame> m_requests;
    RunSettings m_run;
    INTERFACE_INFO m_info;
    PingParameters m_parameters;
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
    std::string text = Finish();
    // How the reply lines interleave with the sending lines, and how long a reply took, is the
    // scheduler's; everything else is fixed.
    text = std::regex_replace(text, std::regex("time=(<1|\\d+)ms"), "time=Tms");
    for (int n = 1; n <= 3; ++n) {
        const std::string number = std::to_string(n);
        EXPECT_TRUE(Has(text, " Sending ping #" + number + " bytes=40 to peer [10.1.2.1]...\n"));
        EXPECT_TRUE(
            Has(text, " Reply to ping #" + number + " received from 10.1.2.1: bytes=40 time=Tms TTL=64\n"));
    }
    EXPECT_TRUE(Has(text, "\n** START PING TEST **\n\n ping  -c 3  -i 0  -s 40  -w 500  peer [10.1.2.1]\n\n"))
        << text;
    text = std::regex_replace(text, std::regex("\\(Min.*\\)"), "(T)");
    EXPECT_TRUE(Has(text, "\n Ping statistics for peer [10.1.2.1]:\n\n"
                          "     3 Pings Sent\n"
                          "     3 Replies Received (T)\n"
                          "     0 Pings Timeouts\n"
                          "     0 Duplicate Replies\n"
                          "     0 Pings Lost (0%)\n\n"
                          " Ping test successful.\n"
                          "\n** END PING TEST **\n\n"))
        << text;
    EXPECT_EQ(m_pingTest.Result().pings.size(), 3U);
}

TEST_F(PingTestTest, RequestsAreRightByteForByte) {
    m_parameters.numPings = 1;
    m_parameters.dataSize = 8;
    m_parameters.timeout = 0;
    Start();
    Frame request = Request(0);
    Finish();
    ASSERT_EQ(request.size(), 36U);
    const Frame sent = request;
    MendChecksums(request);
    EXPECT_EQ(sent, request);
    EXPECT_EQ(Frame(sent.begin(), sent.begin() + 10), Hex("4500 0024 0000 4000 40 01"));
    EXPECT_EQ(Frame(sent.begin() + 12, sent.begin() + 22), Hex("0A01026F 0A010201 08 00"));
    EXPECT_EQ(Frame(sent.begin() + 28, sent.end()), Hex("6162636465666768"));
}

TEST_F(PingTestTest, SilentTargetTimesOutOncePerPing) {
    m_parameters.timeout = 30;
    Start();
    const std::string text = Finish();
    for (int n = 1; n <= 3; ++n) {
        EXPECT_TRUE(Has(text, " Ping #" + std::to_string(n) + " has timed out.\n"));
    }
    EXPECT_TRUE(Has(text, "     0 Replies Received (Minimum = 0ms, Maximum = 0ms, Average = 0ms)\n"
                          "     3 Pings Timeouts\n"
                          "     0 Duplicate Replies\n"
                          "     3 Pings Lost (100%)\n\n Ping test has FAILED.\n"))
        << text;
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
    EXPECT_TRUE(std::regex_search(text, std::regex(" Reply to ping #1 received .* \\(\\d+ms late\\)\n")))
        << text;
    EXPECT_TRUE(std::regex_search(text, std::regex(" Reply #2 to ping #1 received .* \\(\\d+ms late\\)\n")))
        << text;
    EXPECT_TRUE(std::regex_search(text, std::regex(" Reply to ping #2 received .* \\(\\d+ms late\\)\n")))
        << text;
    EXPECT_TRUE(Has(text, "     2 Pings Timeouts\n     1 Duplicate Replies\n     0 Pings Lost (0%)\n\n"
                          " Ping test successful.\n"))
        << text;
}

TEST_F(PingTestTest, DontFragmentRepliesAreLost) {
    m_parameters.numPings = 1;
    m_parameters.timeout = 40;
    Start();
    Reply(0, 0x40);
    EXPECT_TRUE(Has(Finish(), "     1 Pings Lost (100%)\n"));
    EXPECT_EQ(m_info.counters.ignored[2], 1U);
}

TEST_F(PingTestTest, NextTestGoesOnWithTheSequenceAndNumbersFromOne) {
    m_parameters.numPings = 2;
    m_parameters.timeout = 0;
    Start();
    Finish();
    Start();
    const std::string text = Finish();
    EXPECT_TRUE(Has(text, "Sending ping #1 "));
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
    EXPECT_TRUE(Has(text, "     1 Pings Sent\n     1 Replies Received")) << text;
    EXPECT_TRUE(Has(text, "** END PING TEST **\n"));
    EXPECT_TRUE(m_pingTest.CopyPings(0).empty());
    EXPECT_EQ(m_pingTest.Result().statistics.sent, 1U);
    EXPECT_FALSE(m_pingTest.IsRunning());
}

TEST_F(PingTestTest, AWriteFailureEndsTheTest) {
    m_library.failWrite = EMSGSIZE;
    Start();
    EXPECT_TRUE(m_view.WaitFor(ViewMessage::PingThreadEnded));
    m_pingTest.OnPingThreadEnded();
    EXPECT_FALSE(m_pingTest.IsRunning()); // no ping was sent: no statistics
    const std::string text = TakeText();
    EXPECT_TRUE(Has(text, "errno=90: Message too long\n\n***  Ping #1 failed; abort  ***\n\n")) << text;
    EXPECT_FALSE(Has(text, "END PING TEST"));
    EXPECT_TRUE(m_pingTest.Result().writeFailed);
    m_library.failWrite = 0;
    m_parameters.timeout = 0;
    Start();
    EXPECT_TRUE(Has(Finish(), "     3 Pings Sent\n"));
}

TEST_F(PingTestTest, CountZeroRunsUntilStoppedOverManyWraps) {
    m_library.onWrite = nullptr;
    m_parameters.numPings = 0;
    m_parameters.timeout = 10000;
    m_parameters.dataSize = 8;
    m_pingTest.KeepRecords(false);
    Start();
    while (m_library.Written().size() < 2000) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    m_pingTest.StopPingTest();
    EXPECT_TRUE(Has(TakeText(), "** END PING TEST **\n"));
    EXPECT_EQ(m_view.Count(ViewMessage::PingWaitThreadEnded), 1);
}

} // namespace
} // namespace vnxtest
