#include "ui/chart/ping_history.h"
#include "ui/chart/read_out.h"

#include <gtest/gtest.h>

namespace vnxtest {
namespace {

constexpr std::uint32_t kStart = 0xFFFFFF00; // the ticks wrap around during the tests
constexpr std::uint32_t kNone = 0xFFFFFFFF;
constexpr std::int64_t kMillisecond = 1'000'000; // nanoseconds

// A ping sent at `tick`: answered after `roundTrip` unless that is kNone; timed out or not.
CPing Ping(std::uint32_t tick, std::uint32_t roundTrip, bool timedOut = false) {
    CPing ping;
    ping.dwSentTick = kStart + tick;
    ping.dwDeadlineTick = ping.dwSentTick + 500;
    ping.nReplies = roundTrip != kNone ? 1 : 0;
    ping.dwReplyTick = ping.dwSentTick + (roundTrip != kNone ? roundTrip : 0);
    ping.nTimeouts = timedOut ? 1 : 0;
    ping.roundTripNs = kMillisecond * (roundTrip != kNone ? roundTrip : 0);
    return ping;
}

std::vector<std::uint32_t> Figures(const PingHistory& history) {
    const PingSummary& it = history.Summary();
    const auto from = static_cast<std::uint32_t>(history.ChangedFrom());
    const auto milliseconds = [](std::int64_t nanoseconds) {
        return static_cast<std::uint32_t>(nanoseconds / kMillisecond);
    };
    return {it.sent,
            it.received,
            it.late,
            it.lost,
            milliseconds(it.minimum),
            milliseconds(it.maximum),
            milliseconds(it.average),
            it.lossPercent,
            from};
}

TEST(PingHistory, CountsWhatIsDecidedAndAsksOnlyForWhatMayChange) {
    using Expected = std::vector<std::uint32_t>;
    PingHistory history;
    history.Begin(4, L"host");
    history.Update({0, {Ping(0, 10), Ping(100, kNone), Ping(200, 20)}}, kStart + 250);
    EXPECT_EQ(Figures(history), (Expected{3, 2, 0, 0, 10, 20, 15, 0, 1})) << "an undecided ping is not lost";
    // The second one times out: it stays under watch for a late reply, then no more.
    history.Update({1, {Ping(100, kNone, true), Ping(200, 20), Ping(300, 60)}}, kStart + 700);
    EXPECT_EQ(Figures(history), (Expected{4, 3, 0, 1, 10, 60, 30, 25, 1}));
    history.Update({1, {Ping(100, 900, true), Ping(200, 20), Ping(300, 60)}}, kStart + 1100);
    EXPECT_EQ(Figures(history), (Expected{4, 4, 1, 0, 10, 900, 247, 0, 4}));
    // One that is given up is still taken when the test ends.
    history.Begin(1, L"host");
    history.Update({0, {Ping(0, kNone, true)}}, kStart + 10'000);
    EXPECT_EQ(Figures(history), (Expected{1, 0, 0, 1, 0, 0, 0, 100, 1}));
    history.Finish({0, {Ping(0, 9000, true)}});
    EXPECT_EQ(Figures(history), (Expected{1, 1, 1, 0, 9000, 9000, 9000, 0, 1}));
    // One that was still under way when the test was stopped is lost, and percents are whole, as in the
    // statistics.
    history.Begin(40, L"host");
    std::vector<CPing> pings(40, Ping(0, 1));
    pings[0] = pings[1] = Ping(0, kNone, true);
    pings[39] = Ping(0, kNone);
    history.Update({0, pings}, kStart + 10);
    EXPECT_EQ(history.StateAt(39), PingState::Waiting);
    EXPECT_EQ(ChartFigures(history)[2], L"Lost 2 (5%)");
    history.Finish({0, pings});
    EXPECT_EQ(history.StateAt(39), PingState::Lost);
    EXPECT_EQ(ChartFigures(history)[2], L"Lost 3 (8%)");
}

TEST(PingHistory, SummaryOfUpdatesEqualsThatOfTheWholeList) {
    std::vector<CPing> pings;
    PingHistory stepwise, whole;
    stepwise.Begin(1001, L"host");
    for (std::uint32_t index = 0; index <= 1000; ++index) {
        const std::uint32_t roundTrip = index % 7 == 0 ? kNone : index % 5 == 0 ? 600 : index % 90;
        pings.push_back(Ping(index * 10, roundTrip, roundTrip >= 600));
        if (index % 13 == 12) { // also at the last one
            const std::size_t from = stepwise.ChangedFrom();
            stepwise.Update({from, {pings.begin() + static_cast<std::ptrdiff_t>(from), pings.end()}},
                            kStart + index * 10);
        }
    }
    whole.Begin(1001, L"host");
    whole.Update({0, pings}, kStart + 10'000);
    EXPECT_EQ(Figures(stepwise), Figures(whole));
}

// A test without an end: the history keeps what the test keeps, and its figures count all.
TEST(PingHistory, FollowsAListThatLetsPingsGo) {
    CPingList list;
    PingHistory history;
    history.Begin(0, L"host");
    const auto look = [&](std::size_t upTo) {
        while (list.GetCount() < upTo) {
            list.AddTail(Ping(0, 5));
        }
        history.Update(list.CopyFrom(history.ChangedFrom()), kStart + 10);
    };
    for (const std::size_t upTo : {1'000U, 60'000U, 80'000U, 300'000U}) { // the last step leaps over some
        look(upTo);
        EXPECT_EQ(history.Summary().received, upTo);
        EXPECT_EQ(history.Sent(), upTo);
        EXPECT_LE(history.Span().count, CPingList::kCapacity);
    }
    history.Finish(list.CopyFrom(0));
    EXPECT_EQ(history.Summary().sent, 300'000U);
    EXPECT_EQ(history.First(), 300'000U - CPingList::kCapacity);
}

TEST(PingHistory, EveryPingFallsToAColumnAndNoLossIsHidden) {
    PingHistory history;
    std::vector<CPing> pings(65'535, Ping(0, 3));
    for (const std::size_t lost : {0U, 30'004U, 30'005U, 30'006U}) {
        pings[lost] = Ping(0, kNone, true);
    }
    pings[40'000] = Ping(0, 77);
    pings.back() = Ping(0, 700, true);
    history.Begin(65'535, L"host");
    history.Finish({0, pings});
    ChartRange range;
    range.Fit(history.Span(), history.Sent());
    EXPECT_TRUE(history.Columns(range, 0).empty());
    for (const std::size_t width : {333U, 5000U}) {
        const std::vector<PingColumn> columns = history.Columns(range, width);
        PingColumn sum;
        for (const PingColumn& column : columns) {
            sum.sent += column.sent;
            sum.lost += column.lost;
            sum.inTime.maximum = std::max(sum.inTime.maximum, column.inTime.maximum);
        }
        EXPECT_TRUE(sum.sent == 65'535 && sum.lost == 4 && sum.inTime.maximum == 77 * kMillisecond);
        EXPECT_TRUE(columns.front().lost == 1 && columns[30'005 * width / 65'535].lost == 3);
        EXPECT_EQ(columns.back().late.minimum, 700 * kMillisecond) << "not among those in time";
    }
    // From fault to fault, one way and the other.
    EXPECT_EQ(history.NextFault(0, 1), 30'004U);
    EXPECT_EQ(history.NextFault(30'006, 1), 65'534U);
    EXPECT_EQ(history.NextFault(65'534, 1), std::nullopt);
    EXPECT_EQ(history.NextFault(30'004, -1), 0U);
    EXPECT_EQ(history.NextFault(0, -1), std::nullopt);
}

} // namespace
} // namespace vnxtest
