#include "vnetx/pcap/waiting_packets.h"

#include <gtest/gtest.h>

namespace vnxtest {
namespace {

using namespace std::chrono_literals;
using Packet = WaitingPackets::Packet;

constexpr Ipv4Address kHop(10, 0, 0, 1);

class Waiting : public ::testing::Test {
protected:
    std::size_t Keep(Ipv4Address hop, std::uint8_t number, bool answer) {
        return m_waiting.Keep(hop, Packet{number}, answer, m_now);
    }

    WaitingPackets::Clock::time_point m_now{1h};
    WaitingPackets m_waiting{50ms, 150ms};
};

TEST_F(Waiting, WhatStrangersBringAboutIsFewAndTheOldestGoes) {
    EXPECT_TRUE(m_waiting.IsEmpty());
    for (std::uint8_t number = 0; number < 7; ++number) {
        EXPECT_EQ(Keep(kHop, number, true), number < WaitingPackets::kMostAnswersForOne ? 0u : 1u);
    }
    EXPECT_EQ(m_waiting.Take(kHop), (std::vector<Packet>{{3}, {4}, {5}, {6}}));
    EXPECT_TRUE(m_waiting.IsEmpty());

    Keep(kHop, 99, false);
    std::size_t dropped = 0;
    for (std::uint32_t hop = 0; hop < 1000; ++hop) {
        dropped += Keep(Ipv4Address::FromHost(0x0A010000 + hop), 1, true);
    }
    EXPECT_EQ(dropped, 1000 - WaitingPackets::kMostAnswers);
    EXPECT_TRUE(m_waiting.Take(Ipv4Address::FromHost(0x0A010000)).empty());
    EXPECT_EQ(m_waiting.Take(Ipv4Address::FromHost(0x0A010000 + 999)).size(), 1u);
    EXPECT_EQ(m_waiting.Take(kHop), std::vector<Packet>{{99}}) << "answers do not push the program's own out";
    for (std::size_t number = 0; number < WaitingPackets::kMostOwn + 3; ++number) {
        dropped += Keep(kHop, static_cast<std::uint8_t>(number), false);
    }
    EXPECT_EQ(dropped, 1000 - WaitingPackets::kMostAnswers + 3);
    EXPECT_EQ(m_waiting.Take(kHop).front(), Packet{3});
}

TEST_F(Waiting, AQuestionIsRepeatedOnceAndGivenUp) {
    Keep(kHop, 1, true);
    m_now += 20ms;
    Keep(kHop, 2, false);
    EXPECT_EQ(m_waiting.Work(m_now).next, 30);
    m_now += 30ms;
    const auto repeated = m_waiting.Work(m_now);
    EXPECT_EQ(repeated.askAgain, std::vector<Ipv4Address>{kHop});
    EXPECT_EQ(repeated.next, 100);
    m_now += 99ms;
    EXPECT_TRUE(m_waiting.Work(m_now).askAgain.empty()) << "once";
    EXPECT_TRUE(m_waiting.Knows(kHop));
    m_now += 1ms;
    const auto givenUp = m_waiting.Work(m_now);
    EXPECT_EQ(givenUp.silent, std::vector<Ipv4Address>{kHop});
    EXPECT_EQ(givenUp.dropped, 2u);
    EXPECT_EQ(givenUp.next, -1);
    EXPECT_TRUE(m_waiting.IsEmpty() && !m_waiting.Knows(kHop));
}

} // namespace
} // namespace vnxtest
