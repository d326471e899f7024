// What the simulated LAN does to replies: that it follows from seed, interface and number alone, and
// that its counts agree exactly with what a guest finds.

#include <cmath>
#include <thread>

#include <gtest/gtest.h>

#include "vnetx/sim.h"
#include "vnetx/sim_guest.h"

namespace vnxtest {

namespace {

constexpr int kPings = 400;

SimOptions Options(const std::wstring& text) {
    std::wstring error;
    return ParseSimOptions(text, error).value();
}

bool SameFate(const SimFate& a, const SimFate& b) {
    return a.lost == b.lost && a.duplicated == b.duplicated && a.late == b.late &&
           a.dontFragment == b.dontFragment && a.reordered == b.reordered && a.corrupted == b.corrupted &&
           a.truncated == b.truncated && a.foreign == b.foreign && a.delay == b.delay &&
           a.duplicateDelay == b.duplicateDelay && a.random == b.random;
}

TEST(SimFates, FollowFromSeedInterfaceAndNumber) {
    const std::wstring text =
        L"loss=20,dup=20,late=20,df=20,reorder=20,corrupt=20,truncate=20,foreign=20,jitter=9";
    const SimOptions options = Options(text);
    const SimOptions otherSeed = Options(text + L",seed=2");
    int otherNumber = 0, otherInterface = 0, otherRun = 0;
    for (std::uint64_t n = 1; n <= 1000; ++n) {
        const SimFate fate = DecideSimFate(options, 0, n);
        EXPECT_TRUE(SameFate(fate, DecideSimFate(options, 0, n)));
        otherNumber += SameFate(fate, DecideSimFate(options, 0, n + 1));
        otherInterface += SameFate(fate, DecideSimFate(options, 1, n));
        otherRun += SameFate(fate, DecideSimFate(otherSeed, 0, n));
    }
    // Only lost replies can be the same by chance: one in twenty-five.
    for (const int same : {otherNumber, otherInterface, otherRun}) {
        EXPECT_LT(same, 90);
    }
}

TEST(SimFates, OneImpairmentDoesNotChangeAnother) {
    const SimOptions only = Options(L"dup=30");
    const SimOptions with = Options(L"dup=30,loss=40,late=50,jitter=3");
    for (std::uint64_t n = 1; n <= 500; ++n) {
        const SimFate fate = DecideSimFate(with, 0, n);
        if (!fate.lost) {
            EXPECT_EQ(fate.duplicated, DecideSimFate(only, 0, n).duplicated);
        }
    }
}

TEST(SimFates, ComeAsOftenAsAsked) {
    const SimOptions options = Options(L"loss=5,dup=0.5,late=50,corrupt=100,delay=20,jitter=5,lateby=100");
    constexpr int kMany = 200000;
    int lost = 0, duplicated = 0, late = 0;
    for (std::uint64_t n = 1; n <= kMany; ++n) {
        const SimFate fate = DecideSimFate(options, 0, n);
        lost += fate.lost;
        duplicated += fate.duplicated;
        late += fate.late;
        if (fate.lost) {
            continue;
        }
        EXPECT_TRUE(fate.corrupted);
        EXPECT_FALSE(fate.truncated);
        const auto least = std::chrono::milliseconds(fate.late ? 120 : 20);
        EXPECT_GE(fate.delay, least);
        EXPECT_LE(fate.delay, least + std::chrono::milliseconds(5));
    }
    // Five standard deviations on either side.
    const auto near = [](int count, double of, double percent) {
        const double expected = of * percent / 100;
        return std::abs(count - expected) < 5 * std::sqrt(expected);
    };
    EXPECT_TRUE(near(lost, kMany, 5)) << lost;
    EXPECT_TRUE(near(duplicated, kMany * 0.95, 0.5)) << duplicated;
    EXPECT_TRUE(near(late, kMany * 0.95, 50)) << late;
}

struct MatrixCase {
    const wchar_t* options;
    bool tap;
};

class SimMatrix : public ::testing::TestWithParam<MatrixCase> {};

TEST_P(SimMatrix, CountsAreExact) {
    const auto lan = Lan(GetParam().options);
    SimGuest guest(*lan, {.tap = GetParam().tap, .timeout = 200});
    for (std::uint16_t n = 1; n <= kPings; ++n) {
        ASSERT_GT(guest.Ping(kSimFirstEchoHost, n, n % 60), 0);
    }
    const auto found = guest.ReadReplies();

    const SimCounters counters = lan->Counters(0);
    EXPECT_EQ(counters.echoRequests, static_cast<std::uint64_t>(kPings));
    EXPECT_EQ(counters.answeredRead, static_cast<std::uint64_t>(found.answered));
    EXPECT_EQ(counters.extraRepliesRead, static_cast<std::uint64_t>(found.extra));
    // All was read, so what was sent is what was found.
    EXPECT_EQ(counters.answered, counters.answeredRead);
    EXPECT_EQ(counters.extraReplies, counters.extraRepliesRead);
    EXPECT_EQ(counters.repliesSent, static_cast<std::uint64_t>(found.answered + found.extra + found.spoilt));
    EXPECT_EQ(counters.repliesSent, counters.echoRequests - counters.lost + counters.duplicated);
    EXPECT_EQ(counters.repliesRead, counters.repliesSent);

    // And it is what the fates foretell, whatever the mode and the timing.
    SimCounters foretold;
    for (std::uint64_t n = 1; n <= kPings; ++n) {
        const SimFate fate = DecideSimFate(lan->Options(), 0, n);
        foretold.lost += fate.lost;
        foretold.duplicated += fate.duplicated;
        foretold.late += fate.late;
        foretold.dontFragment += fate.dontFragment;
        foretold.reordered += fate.reordered;
        foretold.corrupted += fate.corrupted;
        foretold.truncated += fate.truncated;
        foretold.foreign += fate.foreign;
        foretold.answered += fate.IsGood();
        foretold.extraReplies += fate.IsGood() && fate.duplicated;
    }
    EXPECT_EQ(counters.lost, foretold.lost);
    EXPECT_EQ(counters.duplicated, foretold.duplicated);
    EXPECT_EQ(counters.late, foretold.late);
    EXPECT_EQ(counters.dontFragment, foretold.dontFragment);
    EXPECT_EQ(counters.reordered, foretold.reordered);
    EXPECT_EQ(counters.corrupted, foretold.corrupted);
    EXPECT_EQ(counters.truncated, foretold.truncated);
    EXPECT_EQ(counters.foreign, foretold.foreign);
    EXPECT_EQ(counters.answered, foretold.answered);
    EXPECT_EQ(counters.extraReplies, foretold.extraReplies);
}

INSTANTIATE_TEST_SUITE_P(
    Sim, SimMatrix,
    ::testing::Values(MatrixCase{L"", false}, MatrixCase{L"loss=30", true}, MatrixCase{L"loss=100", true},
                      MatrixCase{L"dup=20,loss=10", false}, MatrixCase{L"df=25", true},
                      MatrixCase{L"corrupt=30,seed=3", false}, MatrixCase{L"corrupt=100,seed=4", true},
                      MatrixCase{L"truncate=30,seed=5", false}, MatrixCase{L"truncate=100,dup=50", true},
                      MatrixCase{L"foreign=30,dup=30", false}, MatrixCase{L"reorder=30,jitter=3", true},
                      MatrixCase{L"late=20,lateby=50,dup=10", false},
                      MatrixCase{L"loss=10,dup=10,late=10,df=10,reorder=10,corrupt=10,truncate=10,foreign=10,"
                                 L"jitter=2,lateby=20,seed=9",
                                 true}));

TEST(SimFates, AReorderedReplyIsOvertakenByTheNext) {
    const auto lan = Lan(L"reorder=30,seed=4");
    SimGuest guest(*lan, {.timeout = 150});
    for (std::uint16_t n = 1; n <= 50; ++n) {
        guest.Ping(kSimFirstEchoHost, n);
    }
    const auto found = guest.ReadReplies();
    // One that is held back comes right behind the next that is not; when the next is held back, too,
    // it comes when its time is over.
    std::vector<std::uint16_t> expected, later;
    std::uint16_t held = 0;
    for (std::uint16_t n = 1; n <= 50; ++n) {
        if (DecideSimFate(lan->Options(), 0, n).reordered) {
            if (held != 0) {
                later.push_back(held);
            }
            held = n;
            continue;
        }
        expected.push_back(n);
        if (held != 0) {
            expected.push_back(std::exchange(held, std::uint16_t{0}));
        }
    }
    if (held != 0) {
        later.push_back(held);
    }
    expected.insert(expected.end(), later.begin(), later.end());
    EXPECT_EQ(found.order, expected);
    EXPECT_FALSE(std::is_sorted(found.order.begin(), found.order.end()));
}

TEST(SimFates, LateRepliesDoNotHoldTheOthersUp) {
    const auto lan = Lan(L"late=50,lateby=80,seed=3");
    SimGuest guest(*lan, {.timeout = 200});
    std::vector<std::uint16_t> prompt, late;
    for (std::uint16_t n = 1; n <= 20; ++n) {
        guest.Ping(kSimFirstEchoHost, n);
        (DecideSimFate(lan->Options(), 0, n).late ? late : prompt).push_back(n);
    }
    EXPECT_FALSE(prompt.empty() || late.empty());
    prompt.insert(prompt.end(), late.begin(), late.end());
    EXPECT_EQ(guest.ReadReplies().order, prompt);
}

TEST(SimFates, ALateReplyIsThatLate) {
    const auto lan = Lan(L"late=100,lateby=80");
    SimGuest guest(*lan, {.timeout = 1000});
    const auto start = std::chrono::steady_clock::now();
    guest.Ping(kSimFirstEchoHost, 1);
    EXPECT_FALSE(guest.Read().empty());
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(79));
}

// 65,535 pings from one thread while another reads: all answered, in little time and in order.
TEST(SimFates, AFloodIsAnsweredWhole) {
    const auto lan = Lan(L"");
    SimGuest guest(*lan, {.timeout = 500});
    constexpr int kFlood = 65535;
    std::thread sender([&] {
        for (int n = 1; n <= kFlood; ++n) {
            guest.Ping(kSimFirstEchoHost, static_cast<std::uint16_t>(n), 8);
        }
    });
    const auto found = guest.ReadReplies();
    sender.join();
    EXPECT_EQ(found.answered, kFlood);
    EXPECT_EQ(found.extra + found.spoilt, 0);
    EXPECT_TRUE(std::is_sorted(found.order.begin(), found.order.end()));
    EXPECT_EQ(lan->Counters().answeredRead, static_cast<std::uint64_t>(kFlood));
}

// A guest that writes and never reads must not eat the memory.
TEST(SimFates, WhatNobodyReadsIsBounded) {
    const auto lan = Lan(L"mtu=65535");
    SimGuest guest(*lan, {.timeout = 1});
    constexpr std::size_t kSize = 60000;
    const std::uint64_t fits = SimWire::kMaximumBytes / kSize;
    for (std::uint64_t n = 1; n <= fits + 100; ++n) {
        guest.Ping(kSimFirstEchoHost, static_cast<std::uint16_t>(n), kSize);
    }
    const SimCounters counters = lan->Counters();
    EXPECT_GE(counters.overflowed, 90u);
    EXPECT_EQ(counters.overflowed + counters.echoRequests, fits + 100);
    EXPECT_EQ(static_cast<std::uint64_t>(guest.ReadReplies().answered), counters.echoRequests);
}

TEST(SimFates, EachInterfaceAndEachLanHasItsOwnCount) {
    const auto lan = Lan(L"loss=50");
    const auto other = Lan(L"loss=50");
    SimGuest first(*lan, {.timeout = 20});
    SimGuest second(*lan, {.tap = true, .ip = kSecondGuest, .timeout = 20});
    SimGuest third(*other, {.timeout = 20});
    for (std::uint16_t n = 1; n <= 40; ++n) {
        first.Ping(kSimFirstEchoHost, n);
        second.Ping(kSimFirstEchoHost, n);
        third.Ping(kSimFirstEchoHost, n);
    }
    const int firstFound = first.ReadReplies().answered;
    const int secondFound = second.ReadReplies().answered;
    EXPECT_GT(firstFound, 0);
    EXPECT_EQ(lan->Counters(0).answeredRead, static_cast<std::uint64_t>(firstFound));
    EXPECT_EQ(lan->Counters(1).answeredRead, static_cast<std::uint64_t>(secondFound));
    const auto replies = third.ReadReplies();
    // The same seed and the same order of opening: the same fates.
    EXPECT_EQ(static_cast<std::uint64_t>(replies.answered), lan->Counters(0).answered);
    EXPECT_EQ(lan->Counters().lost, lan->Counters(0).lost + lan->Counters(1).lost);
    EXPECT_EQ(lan->InterfacesOpened(), 2u);
}

} // namespace

} // namespace vnxtest
