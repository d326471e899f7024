// Every call of a whole run fails once: the right message comes once, nothing stays open, every
// thread ends, and the guest starts again afterwards.

#include <cerrno>

#include "support/guest_fixture.h"
#include "support/output_fixture.h"
#include "support/quiet_host.h"
#include "vnetx/fault_library.h"
#include "vnetx/sim.h"

namespace vnxtest {
namespace {

struct Circumstances {
    bool socketNotify;
    bool twoInterfaces;
};

class FaultsTest : public OutputFixture, public ::testing::WithParamInterface<Circumstances> {
protected:
    FaultsTest() {
        m_host.network.SetDefaultGateway(kSimGatewayIp, kSimGatewayMac);
        m_guest.Run().socketNotifyMode = GetParam().socketNotify;
        m_frontEnd.askParameters = [](GuestParameters& parameters) {
            const std::wstring adapter = FormatIPAddr(kSimAdapterIp);
            parameters.interface1 = {true, L"198.18.0.111", L"02-00-5E-80-00-6F", adapter, L""};
            parameters.interface2 = {};
            if (GetParam().twoInterfaces) {
                parameters.useTwoInterfaces = true;
                parameters.interface2 = {false, L"198.18.0.222", L"02-00-5E-80-00-DE", adapter, L""};
            }
            return true;
        };
        m_frontEnd.askPingWho = [](PingWhoParameters& who) {
            who = {};
            who.to = L"198.18.0.2";
            who.address = kSimFirstEchoHost;
            who.count = 2;
            who.delay = 0;
            who.timeout = 50;
            return true;
        };
    }

    // Starts, pings and stops; returns the text. A start that fails ends by itself.
    std::string WholeRun() {
        const int wanted = GetParam().twoInterfaces ? 2 : 1;
        m_frontEnd.PumpLeftovers(m_guest);
        m_guest.OnStartGuest();
        EXPECT_TRUE(
            m_frontEnd.Pump(m_guest, [&] { return m_frontEnd.opened == wanted || !m_guest.IsRunning(); }));
        if (m_guest.IsRunning()) {
            m_guest.OnTestStartPing();
            const auto answered = [&] {
                const auto pings = m_guest.Ping().CopyPings(0);
                return pings.size() == 2 && !pings[0].IsUndecided() && !pings[1].IsUndecided();
            };
            for (int wait = 0; wait < 40 && m_guest.IsPinging() && !answered(); ++wait) {
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            }
        }
        m_guest.StopGuest();
        EXPECT_FALSE(m_guest.IsRunning());
        EXPECT_FALSE(m_guest.IsPinging());
        EXPECT_TRUE(m_library.OpenHandles().empty());
        return TakeText();
    }

    static int CountOf(const std::string& text, const std::string& what) {
        int count = 0;
        for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
            ++count;
        }
        return count;
    }

    std::unique_ptr<SimLibrary> MakeLan() {
        std::wstring error;
        return MakeSimLibrary(L"", error);
    }

    std::unique_ptr<SimLibrary> m_sim = MakeLan();
    FaultLibrary m_library{*m_sim};
    MemoryProfile m_profile;
    Settings m_settings{m_profile};
    ScriptedFrontEnd m_frontEnd;
    QuietHost m_host{m_library};
    Guest m_guest{m_library, m_host.network, m_settings, m_frontEnd};
};

TEST_P(FaultsTest, EveryCallFailsOnce) {
    struct Case {
        Fault fault;
        const char* message; // null: the failure is silent
    };
    const auto call = [](LibraryCall kind) { return Fault{.call = kind, .errnoValue = EPROTO}; };
    const auto request = [](std::uint32_t code) { return Fault{.request = code, .errnoValue = EPROTO}; };
    std::vector<Case> cases = {
        {call(LibraryCall::Open), "vnetx32_open failed; errno=71"},
        {call(LibraryCall::Read), "vnetx32_read failed; errno=71"},
        {call(LibraryCall::Write), "vnetx32_write failed;"},
        {call(LibraryCall::GetStats), "** Assertion Failed **"},
        {call(LibraryCall::Close), nullptr},
        {request(VNETX_TUNSETDEBUG), "vnetx32_ioctl(TUNSETDEBUG) failed; errno=71"},
        {request(VNETX_TUNSETIFF), "vnetx32_ioctl(TUNSETIFF) failed; errno=71"},
        {request(VNETX_SIOCSIFADDR), "VNETX_SetIPAddr failed; errno=71"},
        {request(VNETX_SIOCSIFDSTADDR), "VNETX_SetDestAddr failed; errno=71"},
        {request(VNETX_SIOCSIFNETMASK), "VNETX_SetNetMask failed; errno=71"},
        {request(VNETX_SIOCSIFBRDADDR), "VNETX_SetBcastAddr failed; errno=71"},
        {request(VNETX_SIOCSIFHWADDR), ") failed; errno=71"},
        {request(VNETX_VNXSTIMEOUT), "vnetx32_ioctl(VNXSTIMEOUT) failed; errno=71"},
        {request(VNETX_VNXSDEVBUFF), "vnetx32_ioctl(VNXSDEVBUFF) failed; errno=71"},
        {request(VNETX_VNXSIOBUFF), "vnetx32_ioctl(VNXSIOBUFF) failed; errno=71"},
        {request(VNETX_SIOCSIFFLAGS), "VNETX_SetFlags(IFF_UP) failed; errno=71"},
        {request(VNETX_SIOCGARP), nullptr},
    };
    for (Case& one : cases) {
        for (one.fault.number = 1; one.fault.number <= 3; ++one.fault.number) {
            m_library.Inject(one.fault);
            const std::string text = WholeRun();
            const bool struck = m_library.Struck() > 0;
            const std::string what = one.message != nullptr ? one.message : "silent";
            if (!struck) {
                break; // there are fewer such calls in a run
            }
            if (one.message != nullptr) {
                EXPECT_EQ(CountOf(text, one.message), 1) << what << " no. " << one.fault.number << "\n"
                                                         << text;
            } else {
                EXPECT_EQ(CountOf(text, "failed"), 0) << text;
                EXPECT_EQ(CountOf(text, "Assertion"), 0) << text;
            }
        }
        m_library.InjectNothing();
    }
    const std::string text = WholeRun();
    EXPECT_EQ(CountOf(text, "failed"), 0) << text;
    EXPECT_EQ(CountOf(text, "     2 Replies Received"), 1) << text;
}

INSTANTIATE_TEST_SUITE_P(Modes, FaultsTest,
                         ::testing::Values(Circumstances{false, false}, Circumstances{false, true},
                                           Circumstances{true, false}, Circumstances{true, true}));

} // namespace
} // namespace vnxtest
