#include "vnetx/watch/neighbours.h"

#include <gtest/gtest.h>

namespace vnxtest {
namespace {

using namespace std::chrono_literals;
using State = NeighbourTable::State;

constexpr Ipv4Address kHost(10, 0, 0, 7);
constexpr MacAddress kMac({2, 0, 0, 0, 0, 7});
constexpr MacAddress kOtherMac({2, 0, 0, 0, 0, 8});

class Neighbours : public testing::Test {
protected:
    State StateOf(Ipv4Address address) { return m_table.Find(address).state; }

    NeighbourTable::Clock::time_point m_now{1h};
    NeighbourTable m_table{[this] { return m_now; }};
};

TEST_F(Neighbours, AnEntryAgesIsRefreshedAndEnds) {
    EXPECT_EQ(StateOf(kHost), State::Unknown);
    m_table.Learn(kHost, kMac);
    m_now += 29s;
    EXPECT_FALSE(m_table.Find(kHost).refresh);
    EXPECT_EQ(m_table.Find(kHost).mac, kMac);
    m_now += 2s;
    EXPECT_TRUE(m_table.Find(kHost).refresh);
    EXPECT_FALSE(m_table.Find(kHost).refresh) << "one caller a second asks again";
    m_table.Learn(kHost, kOtherMac); // the answer: a new minute, perhaps another MAC
    m_now += 59s;
    EXPECT_EQ(m_table.Find(kHost).mac, kOtherMac);
    EXPECT_EQ(m_table.FindByMac(kOtherMac), kHost);
    m_now += 1s;
    EXPECT_EQ(StateOf(kHost), State::Unknown);
    EXPECT_TRUE(m_table.FindByMac(kOtherMac).IsZero());
}

TEST_F(Neighbours, SilenceIsRememberedForASecondAndYieldsToAnAnswer) {
    m_table.NoteSilence(kHost);
    EXPECT_EQ(StateOf(kHost), State::Silent);
    m_now += 1s;
    EXPECT_EQ(StateOf(kHost), State::Unknown);
    m_table.NoteSilence(kHost);
    m_table.Learn(kHost, kMac);
    EXPECT_EQ(StateOf(kHost), State::Known);
    m_table.NoteSilence(kHost); // an exchange that ended too late does not undo what was learnt
    EXPECT_EQ(StateOf(kHost), State::Known);
}

TEST_F(Neighbours, WhoHasNotAnsweredIsToldUntilItDoes) {
    m_table.NoteSilence(kHost);
    EXPECT_TRUE(m_table.Silent().empty()) << "not a whole exchange";
    m_table.NoteUnanswered(kHost);
    m_now += 5s;
    m_table.NoteUnanswered(kHost);
    ASSERT_EQ(m_table.Silent().size(), 1u);
    EXPECT_EQ(m_table.Silent()[0].address, kHost);
    EXPECT_EQ(m_table.Silent()[0].questions, 2u);
    EXPECT_FALSE(m_table.Silent()[0].answeredBefore);
    m_table.Learn(kHost, kMac);
    m_table.NoteUnanswered(kHost); // the answer came late
    EXPECT_TRUE(m_table.Silent().empty());
    m_now += 61s;
    m_table.NoteUnanswered(kHost);
    ASSERT_EQ(m_table.Silent().size(), 1u);
    EXPECT_TRUE(m_table.Silent()[0].answeredBefore);
    for (std::uint32_t i = 1; i <= 5000; ++i) {
        m_table.NoteUnanswered(Ipv4Address::FromHost(0x0B000000 + i));
    }
    EXPECT_EQ(m_table.Silent().size(), NeighbourTable::kMostSilent);
}

TEST_F(Neighbours, WhatIsNotForUsOnlyUpdatesAndAScanDoesNotGrowItWithoutEnd) {
    m_table.Update(kHost, kMac);
    EXPECT_EQ(StateOf(kHost), State::Unknown);
    m_table.Learn(kHost, kMac);
    m_table.Update(kHost, kOtherMac);
    EXPECT_EQ(m_table.Find(kHost).mac, kOtherMac);
    m_table.Learn(kHost, MacAddress::Broadcast());
    m_table.Update(kHost, MacAddress());
    EXPECT_EQ(m_table.Find(kHost).mac, kOtherMac) << "group and zero addresses teach nothing";
    for (std::uint32_t i = 1; i <= 5000; ++i) {
        m_now += 1ms;
        m_table.Learn(Ipv4Address::FromHost(0x0B000000 + i), kMac);
    }
    EXPECT_EQ(StateOf(kHost), State::Unknown) << "the oldest makes room";
    EXPECT_EQ(StateOf(Ipv4Address::FromHost(0x0B000000 + 5000)), State::Known);
}

} // namespace
} // namespace vnxtest
