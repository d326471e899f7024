// On a LAN that loses, doubles, delays and spoils replies, the test's statistics are the LAN's own
// count, exactly.

#include "support/guest_fixture.h"
#include "support/output_fixture.h"
#include "support/quiet_host.h"
#include "vnetx/sim.h"

namespace vnxtest {
namespace {

struct Impairment {
    const wchar_t* lan;
    bool tap = true;
    bool socketNotify = false;
};

class ImpairmentsTest : public OutputFixture, public ::testing::WithParamInterface<Impairment> {};

TEST_P(ImpairmentsTest, StatisticsAreTheLansOwnCount) {
    std::wstring error;
    const auto lan = MakeSimLibrary(GetParam().lan, error);
    ASSERT_TRUE(lan) << ::testing::PrintToString(error);
    QuietHost host(*lan);
    host.network.SetDefaultGateway(kSimGatewayIp, kSimGatewayMac);
    MemoryProfile profile;
    Settings settings(profile);
    ScriptedFrontEnd frontEnd;
    Guest guest(*lan, host.network, settings, frontEnd);
    frontEnd.askParameters = [](GuestParameters& parameters) {
        parameters.interface1 = {GetParam().tap, L"198.18.0.111", L"02-00-5E-80-00-6F",
                                 FormatIPAddr(kSimAdapterIp), L""};
        parameters.interface2 = {};
        return true;
    };
    frontEnd.askPingWho = [](PingWhoParameters& who) {
        who.to = L"198.18.0.2";
        who.address = kSimFirstEchoHost;
        who.count = 400;
        who.delay = 0;
        who.timeout = 100;
        return true;
    };
    guest.Run().socketNotifyMode = GetParam().socketNotify;
    ASSERT_TRUE(guest.OnStartGuest());
    ASSERT_TRUE(frontEnd.Pump(guest, [&] { return frontEnd.opened == 1; }));
    guest.Ping().KeepRecords(true);
    ASSERT_TRUE(guest.OnTestStartPing());
    ASSERT_TRUE(frontEnd.Pump(guest, [&] { return !guest.IsPinging(); }));
    guest.StopGuest();

    const SimCounters counters = lan->Counters();
    const PingTestResult& result = guest.Ping().Result();
    const PingStatistics& statistics = result.statistics;
    EXPECT_EQ(statistics.sent, 400U);
    EXPECT_EQ(statistics.sent, counters.echoRequests);
    EXPECT_EQ(statistics.received, counters.answeredRead);
    EXPECT_EQ(statistics.duplicates, counters.extraRepliesRead);
    EXPECT_EQ(statistics.lost, counters.echoRequests - counters.answeredRead);
    EXPECT_EQ(statistics.received + statistics.lost, statistics.sent);
    std::uint32_t timedOut = 0;
    for (const CPing& ping : result.pings) {
        timedOut += ping.nTimeouts;
        EXPECT_TRUE(ping.nReplies > 0 || ping.nTimeouts == 1);
    }
    EXPECT_EQ(statistics.timeouts, timedOut);
    EXPECT_GE(statistics.timeouts, statistics.lost);
}

INSTANTIATE_TEST_SUITE_P(
    Lans, ImpairmentsTest,
    ::testing::Values(Impairment{L"seed=1"}, Impairment{L"loss=2,seed=2", false},
                      Impairment{L"loss=10,seed=3", true, true}, Impairment{L"loss=20,seed=4", false, true},
                      Impairment{L"loss=30,seed=5"}, Impairment{L"loss=100,seed=6", false},
                      Impairment{L"dup=30,jitter=20,seed=7"}, Impairment{L"dup=100,seed=8", false, true},
                      Impairment{L"late=20,lateby=300,dup=10,seed=9"},
                      Impairment{L"reorder=40,delay=5,seed=10", false},
                      Impairment{L"corrupt=30,dup=20,seed=11", false, true},
                      Impairment{L"truncate=30,dup=20,seed=12"}, Impairment{L"foreign=30,seed=13", false},
                      Impairment{L"df=30,seed=14", true, true},
                      Impairment{L"loss=10,dup=10,late=10,lateby=300,reorder=10,corrupt=5,truncate=5,"
                                 L"foreign=5,df=5,delay=10,jitter=10,seed=15"},
                      Impairment{L"loss=10,dup=10,late=10,lateby=300,reorder=10,corrupt=5,truncate=5,"
                                 L"foreign=5,df=5,delay=10,jitter=10,seed=16",
                                 false, true}));

} // namespace
} // namespace vnxtest
