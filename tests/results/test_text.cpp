#include <regex>

#include <gmock/gmock.h>

#include "results/test_report.h"

namespace vnxtest {
namespace {

CPing Ping(std::uint16_t sequence, std::uint32_t replies, std::uint32_t timeouts, std::int64_t roundTrip) {
    CPing ping;
    ping.wIcmpSeq = SwapNetwork16(sequence);
    ping.nReplies = replies;
    ping.nTimeouts = timeouts;
    ping.roundTripNs = roundTrip;
    ping.sent.unixNs = 1'700'000'000'000'000'000;
    return ping;
}

// Of a long test only the last pings are kept: their numbers count from its first one.
TEST(PingTestText, NamesEveryPingWithItsNumberStateAndTime) {
    PingTestResult result;
    result.plan.targetName = L"host";
    result.plan.target = Ipv4Address{10, 0, 0, 1};
    result.records.first = 70'000;
    result.records.pings = {Ping(4465, 1, 0, 812'345), Ping(4466, 2, 1, 700'000'000), Ping(4467, 0, 1, 0)};
    result.statistics = {.sent = 70'003, .received = 70'002, .lost = 1, .lossPercent = 0};
    const std::string text = PingTestText(result);
    EXPECT_THAT(text, testing::HasSubstr("\n ping  -c 3  -i 1000  -s 32  -w 500  host [10.0.0.1]\n\n"));
    for (const char* const line :
         {"    70001     4465  .* reply      +0[.]812 ms",
          "    70002     4466  .* late reply +700[.]000 ms, 2 replies", "    70003     4467  .* lost"}) {
        EXPECT_TRUE(std::regex_search(text, std::regex("\n" + std::string(line) + "\n"))) << line << text;
    }
    EXPECT_THAT(text, testing::HasSubstr(
                          "\n Ping statistics for host [10.0.0.1]:\n\n 70003 Pings Sent\n 70002 Replies"));
    EXPECT_THAT(text, testing::HasSubstr(
                          "     1 Pings Lost (0%)\n\n Ping test has FAILED.\n\n Round trips: min 0.812, "));
    EXPECT_EQ(text.find("Ping test from"), std::string::npos) << "it never began";
}

} // namespace
} // namespace vnxtest
