// The whole engine on the simulated LAN.
#include <regex>
#include <semaphore>
#include <thread>

#include <gmock/gmock.h>

#include "guest/sim_guest.h"
#include "support/fault_library.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

using ::testing::EndsWith, ::testing::StartsWith;

class GuestTest : public OutputFixture {
protected:
    // The text of one ping test, its times as "T".
    std::string PingOn(const wchar_t* lanOptions, Ipv4Address target, std::uint32_t timeout) {
        const auto lan = Lan(lanOptions);
        SimGuest sim(*lan);
        sim.parameters.interface1.tapMode = false;
        sim.who.plan.targetName = FormatIPAddr(sim.who.plan.target = target);
        sim.who.plan.timeout = timeout;
        sim.Start();
        TakeText();
        sim.Ping();
        return std::regex_replace(TakeText(), std::regex("<?\\d+ms"), "T");
    }

    void AwaitPings(std::size_t count) {
        for (int wait = 0; wait < 20000 && m_guest.Ping().PingsSent() < count; ++wait) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_GE(m_guest.Ping().PingsSent(), count);
    }

    const std::unique_ptr<SimLibrary> m_lan = Lan(L"seed=7");
    SimGuest m_sim{*m_lan};
    Guest& m_guest = m_sim.guest;
};

// The order of reply lines among request lines depends on the scheduler; everything else is fixed.
TEST_F(GuestTest, APingTestToTheLetter) {
    struct Case {
        const wchar_t* lan;
        Ipv4Address target;
        std::uint32_t timeout;
        std::vector<std::string> lines; // about each ping, "#" for its number, "@" for the target
        const char* figures;
    };
    for (const auto& [lan, target, timeout, lines, figures] :
         {Case{L"",
               kSimFirstEchoHost,
               500,
               {" Reply to ping # received from @: bytes=32 time=T TTL=64\n"},
               "     3 Replies Received (Minimum = T, Maximum = T, Average = T)\n     0 Pings Timeouts\n"
               "     0 Duplicate Replies\n     0 Pings Lost (0%)\n\n Ping test successful.\n"},
          {L"",
           kSimSilentHost,
           30,
           {" Ping # has timed out.\n"},
           "     0 Replies Received (Minimum = T, Maximum = T, Average = T)\n     3 Pings Timeouts\n"
           "     0 Duplicate Replies\n     3 Pings Lost (100%)\n\n Ping test has FAILED.\n"},
          {L"late=100,lateby=300,dup=100",
           kSimFirstEchoHost,
           100,
           {" Ping # has timed out.\n", " Reply to ping # received from @: bytes=32 time=T TTL=64 (T late)\n",
            " Reply #2 to ping # received from @: bytes=32 time=T TTL=64 (T late)\n"},
           "     3 Replies Received (Minimum = T, Maximum = T, Average = T)\n     3 Pings Timeouts\n"
           "     3 Duplicate Replies\n     0 Pings Lost (0%)\n\n Ping test successful.\n"}}) {
        const std::string text = PingOn(lan, target, timeout);
        const std::string name = ToUtf8(FormatIPAddr(target));
        EXPECT_THAT(text, StartsWith("\n** START PING TEST **\n\n ping  -c 3  -i 0  -s 32  -w " +
                                     std::to_string(timeout) + "  " + name + "\n\n"));
        for (int number = 1; number <= 3; ++number) {
            EXPECT_EQ(
                CountOf(text, " Sending ping #" + std::to_string(number) + " bytes=32 to " + name + "...\n"),
                1);
            for (std::string line : lines) {
                line = std::regex_replace(line, std::regex("# "), "#" + std::to_string(number) + " ");
                EXPECT_EQ(CountOf(text, std::regex_replace(line, std::regex("@"), name)), 1) << text;
            }
        }
        EXPECT_THAT(text, EndsWith("\n Ping statistics for " + name + ":\n\n     3 Pings Sent\n" + figures +
                                   "\n** END PING TEST **\n\n"));
    }
}

TEST_F(GuestTest, TheNextPingTestGoesOnWithTheSequenceAndNumbersFromOne) {
    m_sim.Start();
    m_guest.Ping().KeepRecords(true);
    std::vector<int> sequence;
    for (const int test : {1, 2}) {
        TakeText();
        m_sim.Ping();
        EXPECT_EQ(CountOf(TakeText(), " Sending ping #1 bytes="), 1) << test;
        for (const CPing& ping : m_guest.Ping().Result().records.pings) {
            sequence.push_back(SwapNetwork16(ping.wIcmpSeq));
            EXPECT_EQ(ping.wIcmpId, m_guest.Ping().Result().records.pings[0].wIcmpId);
        }
    }
    for (std::size_t n = 0; n < 6; ++n) {
        EXPECT_EQ((sequence.at(n) - sequence[0]) & 0xFFFF, static_cast<int>(n));
    }
}

TEST_F(GuestTest, AMessageThatAnEarlierRunHasLeftEndsNothing) {
    m_sim.who.plan.numPings = 100;
    m_sim.who.plan.delay = 20;
    m_sim.Start();
    ASSERT_TRUE(m_guest.OnTestStartPing());
    AwaitPings(2);
    for (const ViewMessage message :
         {ViewMessage::PingThreadEnded, ViewMessage::PingWaitThreadEnded, ViewMessage::MonitorThreadEnded}) {
        m_guest.HandleViewMessage(message);
    }
    EXPECT_LT(m_guest.Ping().PingsSent(), 100U) << "nothing was waited for";
    EXPECT_TRUE(m_guest.IsPinging() && m_guest.IsRunning());
}

TEST_F(GuestTest, AStopEmptiesThePingListAndAnEndDoesNot) {
    m_sim.Start();
    m_sim.Ping();
    EXPECT_EQ(m_guest.Ping().PingsSent(), 3U);
    m_sim.who.plan.numPings = 0;
    ASSERT_TRUE(m_guest.OnTestStartPing());
    AwaitPings(4);
    m_guest.OnTestStopPing();
    EXPECT_EQ(m_guest.Ping().PingsSent(), 0U);
}

TEST_F(GuestTest, APingThatCannotBeWrittenEndsTheTestWithTheFiguresOfTheOthers) {
    FaultLibrary library(*m_lan);
    SimGuest sim(library);
    sim.who.plan.numPings = 9;
    sim.parameters.interface1.tapMode = false; // an ARP reply is written, too
    sim.Start();
    TakeText();
    library.Inject(Fault{.call = LibraryCall::Write, .number = 3});
    sim.Ping();
    const std::string text = TakeText();
    EXPECT_EQ(CountOf(text, "\n***  Ping #3 failed; abort  ***\n\n"), 1) << text;
    EXPECT_EQ(CountOf(text, "Sending ping #4"), 0) << text;
    EXPECT_EQ(CountOf(text, "     2 Pings Sent\n"), 1) << text;
    // Nothing is waited for, so that the replies to the others may stand behind the end.
    EXPECT_EQ(CountOf(text, "\n** END PING TEST **\n\n"), 1) << text;
    EXPECT_TRUE(sim.guest.Ping().Result().writeFailed && sim.guest.Ping().Result().complete);
}

// Holds an interface back while it comes up.
class HoldingLibrary final : public ForwardingLibrary {
public:
    using ForwardingLibrary::ForwardingLibrary;
    std::int32_t Ioctl(std::int32_t handle, std::uint32_t request, void* record) override {
        if (request == VNETX_SIOCSIFFLAGS) {
            arrived.release();
            goOn.acquire();
        }
        return Inner().Ioctl(handle, request, record);
    }
    std::binary_semaphore arrived{0}, goOn{0};
};

// In socket-notify mode the thread has no handle yet that it could be woken by.
TEST_F(GuestTest, AStopIsSeenByAnInterfaceThatIsStillComingUp) {
    HoldingLibrary library(*m_lan);
    SimGuest sim(library);
    sim.guest.Run().socketNotifyMode = true;
    ASSERT_TRUE(sim.guest.OnStartGuest());
    library.arrived.acquire();
    std::thread later([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        library.goOn.release();
    });
    sim.guest.StopGuest();
    later.join();
    EXPECT_FALSE(sim.guest.IsRunning());
    EXPECT_EQ(CountOf(TakeText(), "** Interface sim"), 2) << "came up and was closed";
}

} // namespace
} // namespace vnxtest
