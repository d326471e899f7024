// On a LAN that loses, doubles, delays and corrupts replies, the test's statistics equal the figures that
// follow from the options, and the LAN's own count, exactly.

#include "guest/sim_guest.h"
#include "vnetx/sim/sim_fate.h"

namespace vnxtest {
namespace {

struct Impairment {
    const wchar_t* lan;
    bool tap = true;
    bool socketNotify = false;
};

class ImpairmentsTest : public OutputFixture, public ::testing::WithParamInterface<Impairment> {};

TEST_P(ImpairmentsTest, StatisticsAreTheLansOwnCount) {
    const auto lan = Lan(GetParam().lan);
    SimGuest sim(*lan);
    sim.parameters.interface1.tapMode = GetParam().tap;
    sim.who.plan.numPings = 400;
    sim.who.plan.timeout = 100;
    sim.guest.Run().socketNotifyMode = GetParam().socketNotify;
    sim.Start();
    sim.guest.Ping().KeepRecords(true);
    sim.Ping();
    sim.guest.StopGuest();

    std::uint32_t good = 0, extra = 0; // whatever the mode and the timing
    for (std::uint64_t n = 1; n <= 400; ++n) {
        const SimFate fate = DecideSimFate(lan->Options(), 0, n);
        good += fate.IsGood();
        extra += fate.IsGood() && fate.duplicated;
    }
    const SimCounters counters = lan->Counters();
    const PingTestResult& result = sim.guest.Ping().Result();
    const PingStatistics& statistics = result.statistics;
    EXPECT_TRUE(statistics.sent == 400 && counters.echoRequests == 400);
    EXPECT_TRUE(statistics.received == good && counters.answeredRead == good);
    EXPECT_TRUE(statistics.duplicates == extra && counters.extraRepliesRead == extra);
    EXPECT_EQ(statistics.lost, 400 - good);
    std::uint32_t timedOut = 0;
    for (const CPing& ping : result.records.pings) {
        timedOut += ping.nTimeouts;
        EXPECT_TRUE(ping.nReplies > 0 || ping.nTimeouts == 1);
    }
    EXPECT_EQ(statistics.timeouts, timedOut);
    EXPECT_GE(statistics.timeouts, statistics.lost);
}

INSTANTIATE_TEST_SUITE_P(
    Lans, ImpairmentsTest,
    ::testing::Values(Impairment{L"loss=20,seed=4", false, true}, Impairment{L"loss=100,seed=6", false},
                      Impairment{L"dup=100,seed=8", false, true},
                      Impairment{L"late=20,lateby=300,dup=10,seed=9"},
                      Impairment{L"reorder=40,delay=5,seed=10", false},
                      Impairment{L"corrupt=30,truncate=30,foreign=30,df=30,dup=20,seed=11", true, true},
                      Impairment{L"loss=10,dup=10,late=10,lateby=300,reorder=10,corrupt=5,truncate=5,"
                                 L"foreign=5,df=5,delay=10,jitter=10,seed=15"}));

} // namespace
} // namespace vnxtest
