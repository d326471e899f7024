#include "vnetx/watch/link_history.h"

#include <gtest/gtest.h>

namespace vnxtest {
namespace {

using namespace std::chrono_literals;
using State = LinkHistory::State;

TEST(LinkHistory, EachTroubleIsCountedAndTimedUpToNow) {
    const LinkHistory::Clock::time_point begin{1h};
    LinkHistory history;
    history.Note(State::Down, begin - 1s); // before the interface was up
    history.Begin(begin);
    history.Note(State::Fine, begin);
    history.Note(State::NoCarrier, begin + 2s);
    history.Note(State::NoCarrier, begin + 3s);
    history.Note(State::Fine, begin + 4s);
    history.Note(State::NoCarrier, begin + 10s);
    history.Note(State::Gone, begin + 11s);
    WireFacts facts;
    history.AddTo(facts, begin + 15s);
    EXPECT_EQ(facts.noCarrier.times, 2u);
    EXPECT_EQ(facts.noCarrier.first, 2s);
    EXPECT_EQ(facts.noCarrier.total, 3s);
    EXPECT_FALSE(facts.noCarrier.lasting);
    EXPECT_EQ(facts.gone.total, 4s);
    EXPECT_TRUE(facts.gone.lasting);
    EXPECT_EQ(facts.down.times, 0u);
}

} // namespace
} // namespace vnxtest
