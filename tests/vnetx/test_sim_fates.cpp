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
          {L"\"Loss\"", L"loss, dup", {L"Loss=5"}},
          {L"\"loss\"",
           L"from 0 to 100 (percent)",
           {L"loss=", L"loss=-1", L"loss=100.0001", L"loss=1e1", L"loss=.5"}},
          {L"\"delay\"", L"from 0 to 60000 (milliseconds)", {L"delay=60001"}},
          {L"\"mtu\"", L"from 68 to 65535 (bytes)", {L"mtu=67", L"mtu=65536", L"mtu=1500.5"}},
          {L"\"seed\"", L"whole number", {L"seed=18446744073709551616", L"seed=x"}},
          {L"\"loss\"", L"twice", {L"loss=1,dup=2,loss=3"}}}) {
        for (const wchar_t* text : texts) {
            std::wstring error;
            EXPECT_FALSE(ParseSimOptions(text, error));
            EXPECT_THAT(error, AllOf(HasSubstr(named), HasSubstr(allowed)));
        }
    }
}

TEST(SimFates, FollowFromSeedInterfaceAndNumberAndComeAsOftenAsAsked) {
    const std::wstring text = L"loss=5,dup=0.5,late=50,corrupt=100,delay=20,jitter=5,lateby=100";
    const SimOptions options = Options(text), otherSeed = Options(text + L",seed=2"),
                     only = Options(L"dup=0.5");
    constexpr int kMany = 200000;
    int lost = 0, duplicated = 0, late = 0, same = 0;
    for (std::uint64_t n = 1; n <= kMany; ++n) {
        const SimFate fate = DecideSimFate(options, 0, n);
        if (fate.lost) {
            ++lost;
            continue;
        }
        duplicated += fate.duplicated;
        late += fate.late;
        for (const SimFate& other : {DecideSimFate(options, 0, n + 1), DecideSimFate(options, 1, n),
                                     DecideSimFate(otherSeed, 0, n)}) {
            same += other.random == fate.random || other.delay == fate.delay;
        }
        const auto least = fate.late ? 120ms : 20ms;
        ASSERT_TRUE(fate.delay >= least && fate.delay <= least + 5ms && fate.corrupted && !fate.truncated);
        ASSERT_EQ(fate.duplicated, DecideSimFate(only, 0, n).duplicated) << "one does not change another";
    }
    const double left = kMany * 0.95; // five standard deviations on either side
    EXPECT_NEAR(lost, kMany * 0.05, 5 * std::sqrt(kMany * 0.05));
    EXPECT_NEAR(duplicated, left * 0.005, 5 * std::sqrt(left * 0.005));
    EXPECT_NEAR(late, left * 0.5, 5 * std::sqrt(left * 0.5));
    EXPECT_LT(same, kMany / 1000) << "only by chance is a delay the same, in microseconds";
}

TEST(SimFates, AreCarriedOutAndCountedExactly) {
    using Counted = std::pair<bool SimFate::*, std::uint64_t SimCounters::*>;
    constexpr Counted kFates[] = {
        {&SimFate::lost, &SimCounters::lost},           {&SimFate::duplicated, &SimCounters::duplicated},
        {&SimFate::late, &SimCounters::late},           {&SimFate::dontFragment, &SimCounters::dontFragment},
        {&SimFate::reordered, &SimCounters::reordered}, {&SimFate::corrupted, &SimCounters::corrupted},
        {&SimFate::truncated, &SimCounters::truncated}, {&SimFate::foreign, &SimCounters::foreign}};
    const std::wstring each[] = {L"loss",    L"dup",     L"late",     L"df",
                                 L"reorder", L"corrupt", L"truncate", L"foreign"};
    std::wstring all = L"jitter=2,lateby=20";
    std::vector<std::wstring> lans;
    for (const std::wstring& fate : each) {
        lans.push_back(fate + L"=30,lateby=20,seed=3");
        all += L"," + fate + L"=10";
    }
    lans.push_back(all);
    for (const std::wstring& options : lans) {
        SCOPED_TRACE(::testing::PrintToString(options));
        constexpr std::uint64_t kPings = 400;
        const auto lan = Lan(options);
        LibraryGuest guest(*lan, {.tap = options.size() % 2 == 0, .timeout = 100});
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
        // All was read, so what was sent is what was found.
        EXPECT_EQ(counters.repliesSent, kPings - foretold.lost + foretold.duplicated);
        EXPECT_EQ(counters.repliesRead, counters.repliesSent);
        const std::uint64_t good[] = {foretold.answered, foretold.extraReplies};
        const std::uint64_t sent[] = {counters.answered, counters.extraReplies};
        const std::uint64_t read[] = {counters.answeredRead, counters.extraRepliesRead};
        EXPECT_TRUE(std::ranges::equal(good, sent) && std::ranges::equal(good, read));
        EXPECT_EQ(static_cast<std::uint64_t>(found.answered), good[0]);
        EXPECT_EQ(static_cast<std::uint64_t>(found.extra), good[1]);
        EXPECT_EQ(static_cast<std::uint64_t>(found.spoilt), counters.repliesSent - good[0] - good[1]);
    }
}

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
    later.push_back(held); // with this seed the last one is held back, too
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
