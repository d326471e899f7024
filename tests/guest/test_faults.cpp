// Every call of a whole run fails once: the right message comes once, nothing stays open, every
// thread ends, and the guest starts again afterwards.

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <thread>

#include "guest/sim_guest.h"
#include "support/fault_library.h"

namespace vnxtest {
namespace {

struct Circumstances {
    bool socketNotify;
    bool twoInterfaces;
    bool byMacInDebugMode; // interface 1 names its adapter by MAC and takes the MAC that it is given
};

// Between the faults and the LAN: its read time-out is short, so that a stop is seen soon.
class QuickLibrary final : public ForwardingLibrary {
public:
    using ForwardingLibrary::ForwardingLibrary;
    std::int32_t Ioctl(std::int32_t handle, std::uint32_t request, void* record) override {
        if (request == VNETX_VNXSTIMEOUT) {
            static_cast<VnetxInterfaceRequest*>(record)->u.value = 5;
        }
        return Inner().Ioctl(handle, request, record);
    }
};

// The threads of this process; 0 where the system does not list them.
std::ptrdiff_t CountThreads() {
    // A sanitizer starts one of its own with the first; what was joined is listed for a moment yet.
    [[maybe_unused]] static const bool begun = [] {
        std::thread([] {}).join();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return true;
    }();
    std::error_code none;
    return std::distance(std::filesystem::directory_iterator("/proc/self/task", none), {});
}

class FaultsTest : public OutputFixture, public ::testing::WithParamInterface<Circumstances> {
protected:
    FaultsTest() {
        m_guest.Run().socketNotifyMode = GetParam().socketNotify;
        m_guest.Run().debugMode = GetParam().byMacInDebugMode;
        m_guest.Run().debugFlags = 0;
        if (GetParam().byMacInDebugMode) {
            m_sim.parameters.interface1 = {true, L"198.18.0.111", L"", L"", FormatMACAddr(kSimAdapterMac)};
        }
        if (GetParam().twoInterfaces) {
            m_sim.UseInterface2();
        }
        m_sim.who.plan.numPings = 2;
        m_sim.who.plan.timeout = 50;
    }

    // Starts, pings and stops; returns the text. A start that fails ends by itself.
    std::string WholeRun() {
        m_sim.Start();
        if (m_guest.IsRunning()) {
            m_guest.OnTestStartPing();
            const auto answered = [&] {
                const auto pings = m_guest.Ping().CopyPings(0).pings;
                return pings.size() == 2 && !pings[0].IsUndecided() && !pings[1].IsUndecided();
            };
            for (int wait = 0; wait < 40 && m_guest.IsPinging() && !answered(); ++wait) {
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            }
        }
        m_guest.StopGuest();
        EXPECT_FALSE(m_guest.IsRunning() || m_guest.IsPinging());
        EXPECT_TRUE(m_library.OpenHandles().empty());
        ExpectThreads(m_threadsBefore);
        return TakeText();
    }

    // A joined thread may still be listed for a moment.
    static void ExpectThreads(std::ptrdiff_t most) {
        for (int wait = 0; wait < 200 && CountThreads() > most; ++wait) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_LE(CountThreads(), most);
    }

    const std::unique_ptr<SimLibrary> m_lan = Lan(L"");
    const std::ptrdiff_t m_threadsBefore = CountThreads();
    QuickLibrary m_quick{*m_lan};
    FaultLibrary m_library{m_quick};
    SimGuest m_sim{m_library};
    Guest& m_guest = m_sim.guest;
};

TEST_P(FaultsTest, EveryCallFailsOnce) {
    struct Case {
        Fault fault;
        const char* message; // null: the failure is silent
    };
    const auto call = [](LibraryCall kind) { return Fault{.call = kind, .errnoValue = EDOM}; };
    const auto request = [](std::uint32_t code, int errnoValue = EDOM) {
        return Fault{.request = code, .errnoValue = errnoValue};
    };
    std::vector<Case> cases = {
        {call(LibraryCall::Open), "vnetx32_open failed; errno=33"},
        {call(LibraryCall::Read), "vnetx32_read failed; errno=33"},
        {call(LibraryCall::Write), "vnetx32_write failed;"},
        {call(LibraryCall::GetStats), "** Assertion Failed **"},
        {call(LibraryCall::Close), nullptr},
        {request(VNETX_TUNSETDEBUG), "vnetx32_ioctl(TUNSETDEBUG) failed; errno=33"},
        {request(VNETX_TUNSETIFF), "vnetx32_ioctl(TUNSETIFF) failed; errno=33"},
        {request(VNETX_TUNSETIFF, EINVAL), nullptr}, // the old code is tried, and does it
        {request(VNETX_SIOCSIFADDR), "VNETX_SetIPAddr failed; errno=33"},
        {request(VNETX_SIOCSIFDSTADDR), "VNETX_SetDestAddr failed; errno=33"},
        {request(VNETX_SIOCSIFNETMASK), "VNETX_SetNetMask failed; errno=33"},
        {request(VNETX_SIOCSIFBRDADDR), "VNETX_SetBcastAddr failed; errno=33"},
        {request(VNETX_SIOCSIFHWADDR), ") failed; errno=33"},
        {request(VNETX_SIOCGIFHWADDR), ": GetInterfaceMACAddr() failed; errno=33"},
        {request(VNETX_VNXSTIMEOUT), "vnetx32_ioctl(VNXSTIMEOUT) failed; errno=33"},
        {request(VNETX_VNXSDEVBUFF), "vnetx32_ioctl(VNXSDEVBUFF) failed; errno=33"},
        {request(VNETX_VNXSIOBUFF), "vnetx32_ioctl(VNXSIOBUFF) failed; errno=33"},
        {request(VNETX_SIOCSIFFLAGS), "VNETX_SetFlags(IFF_"},
        {request(VNETX_SIOCGARP), nullptr},
        {request(VNETX_SIOCGRARP), nullptr},
    };
    for (Case& one : cases) {
        const std::string what = one.message != nullptr ? one.message : "silent";
        for (one.fault.number = 1;; ++one.fault.number) {
            m_library.Inject(one.fault);
            const std::string text = WholeRun();
            if (m_library.Struck() == 0) {
                break; // there are fewer such calls in a run
            }
            SCOPED_TRACE(what + " no. " + std::to_string(one.fault.number) + "\n" + text);
            EXPECT_EQ(CountOf(text, one.message != nullptr ? one.message : "failed"),
                      one.message != nullptr ? 1 : 0);
            EXPECT_TRUE(one.message != nullptr || CountOf(text, "Assertion") == 0);
        }
        m_library.Inject(std::nullopt);
    }
    const std::string text = WholeRun();
    EXPECT_EQ(CountOf(text, "failed"), 0) << text;
    EXPECT_EQ(CountOf(text, "     2 Replies Received"), 1) << text;
}

// Starts, pings and stops at any moment, with random faults and all threads writing, VNXTEST_STRESS times.
// Mainly for the thread and address sanitizers.
TEST_P(FaultsTest, StopsInEveryState) {
    const char* const wanted = std::getenv("VNXTEST_STRESS");
    const int rounds = wanted != nullptr ? std::atoi(wanted) : 12;
    std::minstd_rand random(static_cast<unsigned>(rounds));
    std::atomic<bool> writing{true};
    std::thread writer([&] {
        for (int number = 0; writing; ++number) {
            LogMsg(L"line %d of another thread\n", number);
            std::this_thread::sleep_for(std::chrono::milliseconds(1)); // less is not slept everywhere
        }
    });
    const std::ptrdiff_t threadsBefore = CountThreads();
    m_sim.who.plan.numPings = 300;
    for (int round = 0; round < rounds; ++round) {
        if (random() % 3 == 0) {
            m_library.Inject(Fault{.number = 1 + random() % 80, .fromThenOn = random() % 4 == 0});
        }
        m_sim.frontEnd.PumpLeftovers(m_guest);
        m_guest.OnStartGuest();
        const auto moment = std::chrono::microseconds(random() % 3000);
        switch (random() % 5) {
        case 0: // while the interfaces are being opened
            std::this_thread::sleep_for(moment / 10);
            break;
        case 1: // a test begins before they are, or while one of them fails
            m_guest.OnTestStartPing();
            std::this_thread::sleep_for(moment);
            break;
        default:
            m_sim.frontEnd.Pump(m_guest, [&] { return m_sim.frontEnd.opened > 0 || !m_guest.IsRunning(); });
            if (m_guest.IsRunning()) {
                m_guest.OnTestStartPing();
                std::this_thread::sleep_for(moment);
                m_sim.frontEnd.PumpLeftovers(m_guest);
            }
        }
        if (random() % 2 == 0) {
            m_guest.OnTestStopPing();
        }
        m_guest.StopGuest();
        m_library.Inject(std::nullopt);
        EXPECT_FALSE(m_guest.IsRunning() || m_guest.IsPinging());
        EXPECT_TRUE(m_library.OpenHandles().empty());
        TakeText();
    }
    ExpectThreads(threadsBefore);
    writing = false;
    writer.join();
    m_sim.who.plan.numPings = 2;
    EXPECT_EQ(CountOf(WholeRun(), "     2 Replies Received"), 1);
}

INSTANTIATE_TEST_SUITE_P(Modes, FaultsTest,
                         ::testing::Values(Circumstances{false, false, false},
                                           Circumstances{false, true, false},
                                           Circumstances{true, false, false},
                                           Circumstances{true, true, false}, Circumstances{false, true, true},
                                           Circumstances{true, false, true}));

} // namespace
} // namespace vnxtest
