#include "ui/chart/ping_history.h"

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
    const auto loss = static_cast<std::uint32_t>(it.Loss());
    const auto from = static_cast<std::uint32_t>(history.ChangedFrom());
    const auto milliseconds = [](std::int64_t nanoseconds) {
        return static_cast<std::uint32_t>(nanoseconds / kMillisecond);
    };
    return {it.sent,
            it.received,
            it.late,
            it.timedOut,
            milliseconds(it.minimum),
            milliseconds(it.maximum),
            milliseconds(it.average),
            milliseconds(it.maximumInTime),
            loss,
            from};
}

TEST(PingHistory, CountsWhatIsDecidedAndAsksOnlyForWhatMayChange) {
    using Expected = std::vector<std::uint32_t>;
    PingHistory history;
    history.Begin(4, L"host");
    history.Update({0, {Ping(0, 10), Ping(100, kNone), Ping(200, 20)}}, kStart + 250);
    EXPECT_EQ(Figures(history), (Expected{3, 2, 0, 0, 10, 20, 15, 20, 0, 1}))
        << "an undecided ping is not lost";
    // The second one times out: it stays under watch for a late reply, then no more.
    history.Update({1, {Ping(100, kNone, true), Ping(200, 20), Ping(300, 60)}}, kStart + 700);
    EXPECT_EQ(Figures(history), (Expected{4, 3, 0, 1, 10, 60, 30, 60, 25, 1}));
    history.Update({1, {Ping(100, 900, true), Ping(200, 20), Ping(300, 60)}}, kStart + 1100);
    EXPECT_EQ(Figures(history), (Expected{4, 4, 1, 0, 10, 900, 247, 60, 0, 4}));
    // One that is given up is still taken when the test ends.
    history.Begin(1, L"host");
    history.Update({0, {Ping(0, kNone, true)}}, kStart + 10'000);
    EXPECT_EQ(Figures(history), (Expected{1, 0, 0, 1, 0, 0, 0, 0, 100, 1}));
    history.Finish({0, {Ping(0, 9000, true)}});
    EXPECT_EQ(Figures(history), (Expected{1, 1, 1, 0, 9000, 9000, 9000, 0, 0, 1}));
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
        EXPECT_EQ(history.First() + history.Span(), upTo);
        EXPECT_LE(history.Span(), CPingList::kCapacity);
    }
    history.Finish(list.CopyFrom(0));
    EXPECT_EQ(history.Summary().sent, 300'000U);
    EXPECT_EQ(history.First(), 300'000U - CPingList::kCapacity);
}

TEST(PingHistory, EveryPingFallsToAColumnAndNoMarkIsLost) {
    PingHistory history;
    std::vector<CPing> pings(65'535, Ping(0, 3));
    pings.front() = Ping(0, kNone, true);
    pings[40'000] = Ping(0, 77);
    pings.back() = Ping(0, 700, true);
    history.Begin(65'535, L"host");
    history.Finish({0, pings});
    EXPECT_TRUE(history.Columns(0).empty());
    for (const std::size_t width : {1U, 333U, 5000U}) {
        const std::vector<PingColumn> columns = history.Columns(width);
        ASSERT_EQ(columns.size(), width);
        EXPECT_TRUE(columns.front().timedOut && columns.back().late &&
                    columns.back().maximum == 700 * kMillisecond);
        const PingColumn& column = columns[history.ColumnOf(40'000, width)];
        EXPECT_TRUE(column.minimum == 3 * kMillisecond && column.maximum >= 77 * kMillisecond);
    }
    // Few pings spread over the width; a running test keeps room for what is planned.
    history.Begin(3, L"host");
    history.Update({0, {Ping(0, 1)}}, kStart);
    EXPECT_EQ(history.ColumnOf(2, 101), 100U);
    history.Finish({0, {Ping(0, 1)}});
    EXPECT_EQ(history.ColumnOf(0, 101), 50U) << "what was stopped early fills the width";
}

} // namespace
} // namespace vnxtest
