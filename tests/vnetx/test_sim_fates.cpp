// The options of the simulated LAN, and what it does to replies: that it follows from seed, interface and
// number alone, and that its counts agree exactly with what a guest finds.

#include "vnetx/sim_guest.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

TEST(SimOptions, TakesEveryOptionWithFractionsAndBlanks) {
    std::wstring error;
    const auto options =
        ParseSimOptions(L"loss=5, dup=2.25,late=0,df=1,reorder=3,corrupt=4,truncate=6,foreign=100,"
                        L"delay=0.5,jitter=60000,lateby=900,pinger=1000,mtu=68,seed=18446744073709551615 ",
                        error);
    ASSERT_TRUE(options);
    EXPECT_TRUE(options->dup == 2.25 && options->foreign == 100 && options->delay == 0.5);
    EXPECT_TRUE(options->jitter == 60000 && options->lateBy == 900 && options->pinger == 1000);
    EXPECT_TRUE(options->mtu == 68 && options->seed == UINT64_MAX);
}

TEST(SimOptions, RefusalsNameTheOptionAndWhatIsAllowed) {
    const std::pair<const wchar_t*, std::vector<const wchar_t*>> groups[] = {
        {L"name=value", {L"loss", L"=5", L"loss=5,", L"loss=5,,dup=1"}},
        {L"loss, dup", {L"los=5", L"Loss=5"}},
        {L"from 0 to 100 (percent)", {L"loss=-1", L"loss=+1", L"loss=100.0001", L"loss=5%", L"dup=5."}},
        {L"from 68 to 65535 (bytes)", {L"mtu=67", L"mtu=65536"}},
        {L"whole number", {L"mtu=1500.5", L"seed=18446744073709551616", L"seed=x"}},
        {L"twice", {L"loss=1,dup=2,loss=3"}}};
    for (const auto& [words, refused] : groups) {
        for (const wchar_t* text : refused) {
            std::wstring error;
            EXPECT_TRUE(!ParseSimOptions(text, error) && error.find(words) != error.npos) << ToUtf8(text);
        }
    }
}

SimOptions Options(const wchar_t* text) {
    std::wstring error;
    return ParseSimOptions(text, error).value();
}

TEST(SimFates, ComeAsOftenAsAskedAndDifferByInterfaceNumberAndSeed) {
    const SimOptions options = Options(L"loss=0.5,late=50,corrupt=100,delay=20,jitter=5,lateby=100");
    const SimOptions onlyLate = Options(L"late=50");
    const SimOptions otherSeed = Options(L"late=50,seed=2");
    constexpr int kMany = 100000;
    int lost = 0, late = 0, sameInterface = 0, sameNumber = 0, sameSeed = 0;
    for (std::uint64_t n = 1; n <= kMany; ++n) {
        const SimFate fate = DecideSimFate(options, 0, n);
        const bool isLate = DecideSimFate(onlyLate, 0, n).late;
        lost += fate.lost;
        late += isLate;
        sameInterface += isLate == DecideSimFate(onlyLate, 1, n).late;
        sameNumber += isLate == DecideSimFate(onlyLate, 0, n + 1).late;
        sameSeed += isLate == DecideSimFate(otherSeed, 0, n).late;
        const auto least = std::chrono::milliseconds(isLate ? 120 : 20);
        ASSERT_TRUE(fate.lost || (fate.late == isLate && fate.corrupted && !fate.truncated &&
                                  fate.delay >= least && fate.delay <= least + 5ms))
            << "one impairment does not change another";
    }
    // About five standard deviations on either side.
    EXPECT_NEAR(lost, kMany / 200, 110);
    for (const int half : {late, sameInterface, sameNumber, sameSeed}) {
        EXPECT_NEAR(half, kMany / 2, 800);
    }
}

// Two guests at one LAN, one of each mode: whatever the timing, what each finds is what the fates of
// its interface foretell, and what the LAN has counted.
TEST(SimFates, CountsAreExactOnEachInterface) {
    const auto lan = Lan(L"loss=10,dup=10,late=10,df=10,reorder=10,corrupt=10,truncate=10,foreign=10,"
                         L"jitter=2,lateby=20,seed=9");
    SimGuest tun(*lan, {.timeout = 200});
    SimGuest tap(*lan, {.tap = true, .ip = kSecondGuest, .timeout = 200});
    constexpr int kPings = 400;
    for (int n = 1; n <= kPings; ++n) {
        ASSERT_GT(tun.Ping(kSimFirstEchoHost, n, static_cast<std::size_t>(n % 60)), 0);
        ASSERT_GT(tap.Ping(kSimFirstEchoHost, n, static_cast<std::size_t>(n % 60)), 0);
    }
    for (const std::uint32_t order : {0u, 1u}) {
        const auto found = (order == 0 ? tun : tap).ReadReplies();
        int lost = 0, duplicated = 0, answered = 0, extra = 0;
        for (std::uint64_t n = 1; n <= kPings; ++n) {
            const SimFate fate = DecideSimFate(lan->Options(), order, n);
            lost += fate.lost;
            duplicated += fate.duplicated;
            answered += fate.IsGood();
            extra += fate.IsGood() && fate.duplicated;
        }
        EXPECT_EQ(found.answered, answered);
        EXPECT_EQ(found.extra, extra);
        EXPECT_EQ(found.answered + found.extra + found.spoilt, kPings - lost + duplicated);
        const SimCounters counters = lan->Counters(order);
        EXPECT_EQ(static_cast<int>(counters.echoRequests - counters.lost), kPings - lost);
        EXPECT_EQ(static_cast<int>(counters.answeredRead), answered);
        EXPECT_EQ(static_cast<int>(counters.extraRepliesRead), extra);
        EXPECT_EQ(static_cast<int>(counters.repliesSent), kPings - lost + duplicated);
    }
}

TEST(SimFates, AReorderedReplyIsOvertakenByTheNextAndALateOneByAll) {
    for (const wchar_t* options : {L"reorder=30,seed=4", L"late=50,lateby=80,seed=3"}) {
        const auto lan = Lan(options);
        SimGuest guest(*lan, {.timeout = 200});
        for (int n = 1; n <= 20; ++n) {
            guest.Ping(kSimFirstEchoHost, n);
        }
        const auto order = guest.ReadReplies().order;
        EXPECT_EQ(order.size(), 20u);
        const auto place = [&](int n) { return std::find(order.begin(), order.end(), n) - order.begin(); };
        for (std::uint16_t n = 1; n < 20; ++n) {
            const SimFate fate = DecideSimFate(lan->Options(), 0, n);
            const SimFate next = DecideSimFate(lan->Options(), 0, n + 1u);
            const bool overtaken = (fate.reordered && !next.reordered) || (fate.late && !next.late);
            EXPECT_EQ(place(n) > place(n + 1), overtaken) << n;
        }
    }
}

// A guest that writes and never reads must not eat the memory.
TEST(SimFates, WhatNobodyReadsIsBounded) {
    const auto lan = Lan(L"mtu=65535");
    SimGuest guest(*lan, {.timeout = 1});
    constexpr std::size_t kSize = 60000;
    constexpr int kPings = SimWire::kMaximumBytes / kSize + 100;
    for (int n = 1; n <= kPings; ++n) {
        guest.Ping(kSimFirstEchoHost, n, kSize);
    }
    const int overflowed = static_cast<int>(lan->Counters().overflowed);
    EXPECT_GE(overflowed, 90);
    EXPECT_EQ(guest.ReadReplies().answered, kPings - overflowed);
}

} // namespace

} // namespace vnxtest
