// What the options of the simulated LAN do to replies: how they are read, that a fate follows from
// seed, interface and number alone, and that the LAN's counts agree exactly with what a guest finds.

#include <cmath>

#include <gtest/gtest.h>

#include "vnetx/library_guest.h"

namespace vnxtest {
namespace {

using namespace std::chrono_literals;

SimOptions Options(const std::wstring& text) {
    const auto options = ParseSimOptions(text);
    EXPECT_TRUE(options) << ::testing::PrintToString(text);
    return options.value_or(SimOptions());
}

TEST(SimOptionsText, TakesEveryOptionAndNamesWhatItRefuses) {
    const SimOptions o =
        Options(L"loss=5, dup=2.25,late=0,df=1,reorder=3,corrupt=4,truncate=6,foreign=100,"
                L"delay=0.5,jitter=60000,lateby=900,pinger=1000,mtu=68,seed=18446744073709551615 ");
    EXPECT_EQ((std::vector{o.loss, o.dup, o.late, o.df, o.reorder, o.corrupt, o.truncate, o.foreign, o.delay,
                           o.jitter, o.lateBy, o.pinger}),
              (std::vector<double>{5, 2.25, 0, 1, 3, 4, 6, 100, 0.5, 60000, 900, 1000}));
    EXPECT_TRUE(o.mtu == 68 && o.seed == UINT64_MAX);
    struct Refused {
        const wchar_t *named, *allowed;
        std::vector<const wchar_t*> texts;
    };
    for (const auto& [named, allowed, texts] :
         {Refused{L"\"", L"name=value", {L"loss", L"=5", L"loss=5,"}},
          {L"\"Loss\"", L"loss, dup", {L"Loss=5"}},
          {L"\"loss\"", L"from 0 to 100 (percent)", {L"loss=", L"loss=-1", L"loss=100.0001", L"loss=1e1"}},
          {L"\"mtu\"", L"from 68 to 65535 (bytes)", {L"mtu=67", L"mtu=65536", L"mtu=1500.5"}},
          {L"\"seed\"", L"whole number", {L"seed=18446744073709551616", L"seed=x"}},
          {L"\"loss\"", L"twice", {L"loss=1,dup=2,loss=3"}}}) {
        for (const wchar_t* text : texts) {
            const auto options = ParseSimOptions(text);
            ASSERT_FALSE(options);
            EXPECT_THAT(options.error().text, AllOf(HasSubstr(named), HasSubstr(allowed)));
        }
    }
}

TEST(SimFates, FollowFromSeedInterfaceAndNumberAndComeAsOftenAsAsked) {
    const std::wstring text = L"loss=5,dup=0.5,late=50,corrupt=100,delay=20,jitter=5,lateby=100";
    const SimOptions options = Options(text), only = Options(L"dup=0.5");
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
        same += DecideSimFate(options, 1, n).random == fate.random;
        const auto least = fate.late ? 120ms : 20ms;
        ASSERT_TRUE(fate.delay >= least && fate.delay <= least + 5ms && fate.corrupted && !fate.truncated);
        ASSERT_EQ(fate.duplicated, DecideSimFate(only, 0, n).duplicated) << "one does not change another";
    }
    const double left = kMany * 0.95; // five standard deviations on either side
    EXPECT_NEAR(lost, kMany * 0.05, 5 * std::sqrt(kMany * 0.05));
    EXPECT_NEAR(duplicated, left * 0.005, 5 * std::sqrt(left * 0.005));
    EXPECT_NEAR(late, left * 0.5, 5 * std::sqrt(left * 0.5));
    EXPECT_EQ(same, 0) << "each interface has its own";
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
    EXPECT_EQ(guest.ReadReplies(), expected);
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
    EXPECT_EQ(guest.ReadReplies().size(), counters.echoRequests);
    EXPECT_LE(guest.Statistics().maximumBytesReceived, 65536u) << "as much at once as the I/O buffer holds";
}

} // namespace
} // namespace vnxtest
