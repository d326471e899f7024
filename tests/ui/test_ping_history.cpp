#include "ui/ping_history.h"

#include <gtest/gtest.h>

#include "ui/ping_chart.h"

namespace vnxtest {
namespace {

constexpr std::uint32_t kStart = 0xFFFFFF00; // the ticks wrap around during the tests
constexpr std::uint32_t kTimeout = 500;

CPing SentAt(std::uint32_t tick) {
    CPing ping;
    ping.dwSentTick = kStart + tick;
    ping.dwDeadlineTick = ping.dwSentTick + kTimeout;
    return ping;
}

CPing Answered(std::uint32_t tick, std::uint32_t roundTrip) {
    CPing ping = SentAt(tick);
    ping.nReplies = 1;
    ping.dwReplyTick = ping.dwSentTick + roundTrip;
    return ping;
}

CPing TimedOut(std::uint32_t tick) {
    CPing ping = SentAt(tick);
    ping.nTimeouts = 1;
    return ping;
}

CPing Late(std::uint32_t tick, std::uint32_t roundTrip) {
    CPing ping = Answered(tick, roundTrip);
    ping.nTimeouts = 1;
    return ping;
}

TEST(PingHistory, CountsWhatIsDecidedAndAsksOnlyForWhatMayChange) {
    PingHistory history;
    history.Begin(4, L"host");
    history.Update(0, {Answered(0, 10), SentAt(100), Answered(200, 20)}, kStart + 250);
    EXPECT_EQ(history.Summary().sent, 3U);
    EXPECT_EQ(history.Summary().received, 2U);
    EXPECT_EQ(history.Summary().minimum, 10U);
    EXPECT_EQ(history.Summary().maximum, 20U);
    EXPECT_EQ(history.Summary().average, 15U);
    EXPECT_DOUBLE_EQ(history.Summary().Loss(), 0.0) << "an undecided ping is not lost";
    EXPECT_EQ(history.ChangedFrom(), 1U);

    // The second one times out: it stays under watch for a late reply, then no more.
    history.Update(1, {TimedOut(100), Answered(200, 20), Answered(300, 60)}, kStart + 700);
    EXPECT_EQ(history.Summary().timedOut, 1U);
    EXPECT_DOUBLE_EQ(history.Summary().Loss(), 25.0);
    EXPECT_EQ(history.ChangedFrom(), 1U);
    history.Update(1, {Late(100, 900), Answered(200, 20), Answered(300, 60)}, kStart + 1100);
    EXPECT_EQ(history.Summary().timedOut, 0U);
    EXPECT_EQ(history.Summary().late, 1U);
    EXPECT_EQ(history.Summary().maximum, 900U);
    EXPECT_EQ(history.ChangedFrom(), 4U);
    EXPECT_EQ(history.Records().size(), 4U);
}

TEST(PingHistory, GivesALostPingUpAfterAWhileAndStillTakesItsReplyAtTheEnd) {
    PingHistory history;
    history.Begin(2, L"host");
    history.Update(0, {TimedOut(0), Answered(10, 1)}, kStart + 10'000);
    EXPECT_EQ(history.ChangedFrom(), 2U);
    history.Finish({Late(0, 9000), Answered(10, 1)});
    EXPECT_FALSE(history.IsRunning());
    EXPECT_EQ(history.Summary().received, 2U);
    EXPECT_EQ(history.Summary().timedOut, 0U);
    EXPECT_EQ(history.Summary().maximum, 9000U);
}

TEST(PingHistory, SummaryOfUpdatesEqualsThatOfTheWholeList) {
    // The same test, seen in steps and seen at once.
    std::vector<CPing> pings;
    PingHistory stepwise;
    stepwise.Begin(1000, L"host");
    for (std::uint32_t index = 0; index < 1000; ++index) {
        pings.push_back(index % 7 == 0   ? TimedOut(index * 10)
                        : index % 5 == 0 ? Late(index * 10, 600 + index % 50)
                                         : Answered(index * 10, index % 90));
        if (index % 13 == 0) {
            const std::size_t from = stepwise.ChangedFrom();
            stepwise.Update(from, {pings.begin() + static_cast<std::ptrdiff_t>(from), pings.end()},
                            kStart + index * 10);
        }
    }
    const std::size_t from = stepwise.ChangedFrom();
    stepwise.Update(from, {pings.begin() + static_cast<std::ptrdiff_t>(from), pings.end()}, kStart + 20'000);
    PingHistory whole;
    whole.Begin(1000, L"host");
    whole.Finish(pings);
    EXPECT_EQ(stepwise.Summary().sent, whole.Summary().sent);
    EXPECT_EQ(stepwise.Summary().received, whole.Summary().received);
    EXPECT_EQ(stepwise.Summary().late, whole.Summary().late);
    EXPECT_EQ(stepwise.Summary().timedOut, whole.Summary().timedOut);
    EXPECT_EQ(stepwise.Summary().minimum, whole.Summary().minimum);
    EXPECT_EQ(stepwise.Summary().maximum, whole.Summary().maximum);
    EXPECT_EQ(stepwise.Summary().average, whole.Summary().average);
    EXPECT_EQ(stepwise.Summary().maximumInTime, whole.Summary().maximumInTime);
    EXPECT_EQ(whole.Summary().maximumInTime, 89U);
}

TEST(PingHistory, EveryPingFallsToAColumnAndNoMarkIsLost) {
    PingHistory history;
    std::vector<CPing> pings;
    for (std::uint32_t index = 0; index < 65'535; ++index) {
        pings.push_back(Answered(index, index == 40'000 ? 77 : 3));
    }
    pings[0] = TimedOut(0);
    pings[65'534] = Late(65'534, 700);
    history.Begin(65'535, L"host");
    history.Finish(pings);
    for (const std::size_t width : {1U, 2U, 333U, 5000U}) {
        const std::vector<PingColumn> columns = history.Columns(width);
        ASSERT_EQ(columns.size(), width);
        EXPECT_TRUE(columns.front().timedOut);
        EXPECT_TRUE(columns.back().late);
        EXPECT_EQ(columns.back().maximum, 700U);
        if (width > 2) {
            EXPECT_EQ(columns[history.ColumnOf(40'000, width)].maximum, 77U);
            EXPECT_EQ(columns[history.ColumnOf(40'000, width)].minimum, 3U);
        }
    }
    EXPECT_TRUE(history.Columns(0).empty());
}

TEST(PingHistory, FewPingsSpreadOverTheWidth) {
    PingHistory history;
    history.Begin(3, L"host");
    history.Update(0, {Answered(0, 1)}, kStart);
    EXPECT_EQ(history.ColumnOf(0, 101), 0U);
    EXPECT_EQ(history.ColumnOf(1, 101), 50U);
    EXPECT_EQ(history.ColumnOf(2, 101), 100U) << "a running test keeps room for what is planned";
    history.Finish({Answered(0, 1)});
    EXPECT_EQ(history.ColumnOf(0, 101), 50U) << "what was stopped early fills the width";
}

TEST(PingChart, AxisIsRoundAndNeverBelowTheValue) {
    EXPECT_EQ(RoundAxis(0), 1U);
    EXPECT_EQ(RoundAxis(3), 5U);
    EXPECT_EQ(RoundAxis(5), 5U);
    EXPECT_EQ(RoundAxis(51), 100U);
    EXPECT_EQ(RoundAxis(10'001), 20'000U);
    EXPECT_EQ(RoundAxis(0xFFFFFFFF), 0xFFFFFFFF);
}

} // namespace
} // namespace vnxtest
