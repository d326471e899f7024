// What the options of the simulated LAN do to replies: how they are read, that a fate follows from
// seed, interface and number alone, and that the LAN's counts agree exactly with what a guest finds.

#include <cmath>

#include <gtest/gtest.h>

#include "vnetx/library_guest.h"

namespace vnxtest {
namespace {

using namespace std::chrono_literals;

SimOptions Options(const std::wstring& text) {
    std::wstring error;
    const auto options = ParseSimOptions(text, error);
    EXPECT_TRUE(options) << ::testing::PrintToString(error);
    return options.value_or(SimOptions());
}

TEST(SimOptionsText, TakesEveryOptionAndNamesWhatItRefuses) {
    const SimOptions o =
        Options(L"loss=5, dup=2.25,late=0,df=1,reorder=3,corrupt=4,truncate=6,foreign=100,"
                L"delay=0.5,jitter=60000,lateby=900,pinger=1000,mtu=68,seed=18446744073709551615 ");
    EXPECT_EQ((std::vector<double>{o.loss, o.dup, o.late, o.df, o.reorder, o.corrupt, o.truncate, o.foreign,
                                   o.delay, o.jitter, o.lateBy, o.pinger}),
              (std::vector<double>{5, 2.25, 0, 1, 3, 4, 6, 100, 0.5, 60000, 900, 1000}));
    EXPECT_EQ(o.mtu, 68u);
    EXPECT_EQ(o.seed, UINT64_MAX);
    Options(L"  ");
    struct Refused {
        const wchar_t *named, *allowed;
        std::vector<const wchar_t*> texts;
    };
    for (const auto& [named, allowed, texts] :
         {Refused{L"\"", L"name=value", {L"loss", L"=5", L"loss=5,"}},
          Refused{L"\"Loss\"", L"loss, dup", {L"Loss=5"}},
          Refused{
              L"\"loss\"",
              L"from 0 to 100 (percent)",
              {L"loss=", L"loss=-1", L"loss=100.0001", L"loss=1e1", L"loss=5.", L"loss=.5", L"loss=1.2.3"}},
          Refused{L"\"delay\"", L"from 0 to 60000 (milliseconds)", {L"delay=60001"}},
          Refused{L"\"mtu\"", L"from 68 to 65535 (bytes)", {L"mtu=67", L"mtu=65536", L"mtu=1500.5"}},
          Refused{L"\"seed\"", L"whole number", {L"seed=18446744073709551616", L"seed=x"}},
          Refused{L"\"loss\"", L"twice", {L"loss=1,dup=2,loss=3"}}}) {
        for (const wchar_t* text : texts) {
            std::wstring error;
            EXPECT_FALSE(ParseSimOptions(text, error));
            EXPECT_THAT(error, AllOf(HasSubstr(named), HasSubstr(allowed), ::testing::EndsWith(L".")));
        }
    }
}

// Every fate, and its count.
struct FateCount {
    bool SimFate::*fate;
    std::uint64_t SimCounters::*count;
};
constexpr FateCount kFates[] = {
    {&SimFate::lost, &SimCounters::lost},           {&SimFate::duplicated, &SimCounters::duplicated},
    {&SimFate::late, &SimCounters::late},           {&SimFate::dontFragment, &SimCounters::dontFragment},
    {&SimFate::reordered, &SimCounters::reordered}, {&SimFate::corrupted, &SimCounters::corrupted},
    {&SimFate::truncated, &SimCounters::truncated}, {&SimFate::foreign, &SimCounters::foreign},
};

TEST(SimFates, FollowFromSeedInterfaceAndNumberAndComeAsOftenAsAsked) {
    const std::wstring text = L"loss=5,dup=0.5,late=50,corrupt=100,delay=20,jitter=5,lateby=100";
    const SimOptions options = Options(text), otherSeed = Options(text + L",seed=2"),
                     only = Options(L"dup=0.5");
    constexpr int kMany = 200000;
    int lost = 0, duplicated = 0, late = 0, same = 0;
    for (std::uint64_t n = 1; n <= kMany; ++n) {
        const SimFate fate = DecideSimFate(options, 0, n);
        lost += fate.lost;
        duplicated += fate.duplicated;
        late += fate.late;
        if (!fate.lost) {
            for (const SimFate& other : {DecideSimFate(options, 0, n + 1), DecideSimFate(options, 1, n),
                                         DecideSimFate(otherSeed, 0, n)}) {
                same += other.random == fate.random || other.delay == fate.delay;
            }
            const auto least = fate.late ? 120ms : 20ms;
            ASSERT_TRUE(fate.delay >= least && fate.delay <= least + 5ms);
            ASSERT_TRUE(fate.corrupted && !fate.truncated);
            ASSERT_EQ(fate.duplicated, DecideSimFate(only, 0, n).duplicated) << "one does not change another";
        }
    }
    // Five standard deviations on either side.
    const auto near = [](int count, double of, double percent) {
        const double expected = of * percent / 100;
        return std::abs(count - expected) < 5 * std::sqrt(expected);
    };
    EXPECT_TRUE(near(lost, kMany, 5)) << lost;
    EXPECT_TRUE(near(duplicated, kMany * 0.95, 0.5)) << duplicated;
    EXPECT_TRUE(near(late, kMany * 0.95, 50)) << late;
    EXPECT_LT(same, kMany / 1000) << "only by chance is a delay the same, in microseconds";
}

class SimMatrix : public ::testing::TestWithParam<std::pair<const wchar_t*, bool>> {};

TEST_P(SimMatrix, CountsAreExact) {
    const auto& [options, tap] = GetParam();
    constexpr std::uint64_t kPings = 400;
    const auto lan = Lan(options);
    LibraryGuest guest(*lan, {.tap = tap, .timeout = 200});
    SimCounters foretold; // whatever the mode and the timing
    for (std::uint16_t n = 1; n <= kPings; ++n) {
        ASSERT_GT(guest.Ping(kSimFirstEchoHost, n, n % 60), 0);
        const SimFate fate = DecideSimFate(lan->Options(), 0, n);
        for (const auto& [member, count] : kFates) {
            foretold.*count += fate.*member;
        }
        foretold.answered += fate.IsGood();
        foretold.extraReplies += fate.IsGood() && fate.duplicated;
    }
    const auto found = guest.ReadReplies();
    const SimCounters counters = lan->Counters(0);
    for (const auto& [member, count] : kFates) {
        EXPECT_EQ(counters.*count, foretold.*count);
    }
    EXPECT_EQ(counters.echoRequests, kPings);
    EXPECT_EQ(counters.answered, foretold.answered);
    EXPECT_EQ(counters.extraReplies, foretold.extraReplies);
    EXPECT_EQ(counters.repliesSent, kPings - foretold.lost + foretold.duplicated);
    // All was read, so what was sent is what was found.
    EXPECT_EQ(counters.answeredRead, foretold.answered);
    EXPECT_EQ(counters.extraRepliesRead, foretold.extraReplies);
    EXPECT_EQ(counters.repliesRead, counters.repliesSent);
    EXPECT_EQ(static_cast<std::uint64_t>(found.answered), foretold.answered);
    EXPECT_EQ(static_cast<std::uint64_t>(found.extra), foretold.extraReplies);
    EXPECT_EQ(static_cast<std::uint64_t>(found.spoilt),
              counters.repliesSent - foretold.answered - foretold.extraReplies);
}

INSTANTIATE_TEST_SUITE_P(
    Sim, SimMatrix,
    ::testing::Values(std::pair{L"", false}, std::pair{L"loss=30", true}, std::pair{L"dup=20,loss=10", false},
                      std::pair{L"df=25", true}, std::pair{L"corrupt=30,seed=3", false},
                      std::pair{L"corrupt=100,seed=4", true}, std::pair{L"truncate=30,seed=5", false},
                      std::pair{L"truncate=100,dup=50", true}, std::pair{L"foreign=30,dup=30", false},
                      std::pair{L"reorder=30,jitter=3", true}, std::pair{L"late=20,lateby=50,dup=10", false},
                      std::pair{L"loss=10,dup=10,late=10,df=10,reorder=10,corrupt=10,truncate=10,foreign=10,"
                                L"jitter=2,lateby=20,seed=9",
                                true}));

TEST(SimFates, AReorderedReplyIsOvertakenByTheNext) {
    const auto lan = Lan(L"reorder=30,seed=4");
    LibraryGuest guest(*lan, {.timeout = 250});
    // One that is held back comes right behind the next that is not; when the next is held back, too,
    // it comes when its time is over.
    std::vector<std::uint16_t> expected, later;
    std::uint16_t held = 0;
    for (std::uint16_t n = 1; n <= 50; ++n) {
        guest.Ping(kSimFirstEchoHost, n);
        const bool reordered = DecideSimFate(lan->Options(), 0, n).reordered;
        if (!reordered) {
            expected.push_back(n);
        }
        if (held != 0) {
            (reordered ? later : expected).push_back(held);
        }
        held = reordered ? n : std::uint16_t{0};
    }
    if (held != 0) {
        later.push_back(held);
    }
    EXPECT_FALSE(later.empty());
    expected.insert(expected.end(), later.begin(), later.end());
    EXPECT_EQ(guest.ReadReplies().order, expected);
}

TEST(SimFates, LateRepliesAreThatLateAndDoNotHoldTheOthersUp) {
    const auto lan = Lan(L"late=50,lateby=300,seed=3");
    LibraryGuest guest(*lan, {.timeout = 600});
    const auto start = std::chrono::steady_clock::now();
    std::vector<std::uint16_t> prompt, late;
    for (std::uint16_t n = 1; n <= 20; ++n) {
        guest.Ping(kSimFirstEchoHost, n);
        (DecideSimFate(lan->Options(), 0, n).late ? late : prompt).push_back(n);
    }
    EXPECT_FALSE(prompt.empty() || late.empty());
    prompt.insert(prompt.end(), late.begin(), late.end());
    EXPECT_EQ(guest.ReadReplies().order, prompt);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 895ms) << "the lateness, and the last read";
}

// A guest that writes and never reads must not eat the memory.
TEST(SimFates, WhatNobodyReadsIsBounded) {
    const auto lan = Lan(L"mtu=65535");
    LibraryGuest guest(*lan, {.timeout = 1});
    constexpr std::size_t kSize = 60000;
    const std::uint64_t fits = SimWire::kMaximumBytes / kSize;
    for (std::uint64_t n = 1; n <= fits + 100; ++n) {
        guest.Ping(kSimFirstEchoHost, static_cast<std::uint16_t>(n), kSize);
    }
    const SimCounters counters = lan->Counters();
    EXPECT_GE(counters.overflowed, 90u);
    EXPECT_EQ(counters.overflowed + counters.echoRequests, fits + 100);
    EXPECT_EQ(guest.ReadReplies().order.size(), counters.echoRequests);
    EXPECT_LE(guest.Statistics().maximumBytesReceived, 65536u) << "as much at once as the I/O buffer holds";
}

} // namespace
} // namespace vnxtest
