// The sender's pace against a receive ring of the driver's size, in simulated time: its speed, and that the
// ring never overflows.

#include <algorithm>
#include <deque>
#include <functional>
#include <random>

#include <gtest/gtest.h>

#include "ping/pace.h"

namespace vnxtest {
namespace {

using namespace std::chrono_literals;
using Duration = Pace::Clock::duration;

constexpr std::size_t kRing = 512; // the driver's buffer at its default

struct Network {
    std::function<Duration(std::size_t)> way = [](std::size_t) {
        return 1ms;
    }; // there and back, of each ping
    std::function<bool(std::size_t)> lost = [](std::size_t) { return false; };
    // The reader is kept from reading for up to `away`, about once in `every`.
    Duration away = 0ms;
    Duration every = 40ms;
    Duration sendCost = 7us;
    Duration readCost = 3us;
};

struct Outcome {
    Duration taken{};
    std::size_t mostUnread = 0;
};

// Sends `count` pings over `network`, in steps of a microsecond.
Outcome Send(std::size_t count, const Network& network, unsigned seed = 1) {
    struct Reply {
        Duration due, sent;
        std::size_t position;
    };
    Pace pace;
    pace.Begin(kRing);
    std::minstd_rand random(seed);
    std::deque<Reply> onTheWay, unread;
    Outcome outcome;
    Duration nextSend{}, nextRead{}, nextAway = network.every;
    std::size_t sent = 0;
    bool waiting = false;
    for (Duration now{}; sent < count; now += 1us) {
        while (!onTheWay.empty() && onTheWay.front().due <= now) {
            unread.push_back(onTheWay.front());
            onTheWay.pop_front();
        }
        outcome.mostUnread = std::max(outcome.mostUnread, unread.size());
        if (network.away > 0ms && now >= nextAway) {
            nextRead = now + network.away;
            nextAway = nextRead + network.every / 2 + network.every * (random() % 100) / 100;
        }
        if (now >= nextRead && !unread.empty()) {
            const auto roundTrip =
                std::chrono::duration_cast<std::chrono::milliseconds>(now - unread.front().sent);
            pace.NoteReply(unread.front().position, static_cast<std::uint32_t>(roundTrip.count()));
            unread.pop_front();
            nextRead = now + network.readCost;
        }
        if (now < nextSend) {
            continue;
        }
        const bool free = sent == 0 || (!waiting && pace.IsFree(sent));
        const Duration wait = free ? 0ms : pace.Wait(sent, Pace::Clock::time_point(now));
        waiting = wait != 0ms;
        if (waiting) {
            nextSend = now + wait + 60us; // no sleep is shorter
            continue;
        }
        if (!network.lost(sent)) {
            const Duration due = now + network.way(sent);
            const auto at =
                std::upper_bound(onTheWay.begin(), onTheWay.end(), due,
                                 [](Duration moment, const Reply& reply) { return moment < reply.due; });
            onTheWay.insert(at, {due, now, sent});
        }
        ++sent;
        nextSend = now + network.sendCost;
        outcome.taken = now;
    }
    return outcome;
}

TEST(Pace, SendsTenThousandInHalfASecondAndTwoRoundTrips) {
    for (const Duration way : {Duration(20us), Duration(1ms), Duration(5ms), Duration(20ms), Duration(50ms),
                               Duration(100ms), Duration(240ms), Duration(300ms), Duration(1000ms)}) {
        for (const unsigned seed : {1U, 2U, 3U}) {
            Network network;
            network.way = [way](std::size_t) { return way; };
            const Outcome undisturbed = Send(10'000, network, seed);
            EXPECT_LE(undisturbed.taken, 500ms + 2 * way) << way.count();
            network.away = 10ms;
            const Outcome disturbed = Send(10'000, network, seed);
            EXPECT_LE(disturbed.mostUnread, kRing) << way.count();
        }
    }
    Network silent;
    silent.lost = [](std::size_t) { return true; };
    EXPECT_LE(Send(10'000, silent).taken, 500ms);
}

TEST(Pace, StaysOffTheBrakeWhereTheReaderKeepsUp) {
    Network network;
    network.way = [](std::size_t) { return 20us; };
    EXPECT_LE(Send(60'000, network).taken, 60'000 * network.sendCost + 10ms);
    network.away = 100ms; // far longer than the ring could take at any rate
    network.every = 300ms;
    EXPECT_LE(Send(60'000, network).mostUnread, kRing);
}

TEST(Pace, FollowsAWayThatChangesAndAStationThatFallsSilent) {
    Network network;
    network.way = [](std::size_t n) { return n < 3000 ? Duration(1ms) : Duration(200ms); };
    EXPECT_LE(Send(10'000, network).taken, 2s);
    network.way = [](std::size_t n) { return n < 3000 ? Duration(200ms) : Duration(1ms); };
    EXPECT_LE(Send(10'000, network).taken, 1s);
    network.lost = [](std::size_t n) { return n >= 5000; };
    EXPECT_LE(Send(10'000, network).taken, 1200ms);
    network.lost = [](std::size_t n) { return n % 3 == 0; };
    EXPECT_LE(Send(10'000, network).taken, 1s);
    network.way = [](std::size_t n) { return Duration(10ms) * (n * 7919 % 10); }; // out of order
    network.away = 10ms;
    const Outcome mixed = Send(10'000, network);
    EXPECT_LE(mixed.taken, 1s);
    EXPECT_LE(mixed.mostUnread, kRing);
}

TEST(Pace, TheDriversBufferSetsTheRate) {
    EXPECT_EQ(Pace::RingSlots(1024 * 1024, 32), 512U);
    EXPECT_EQ(Pace::RingSlots(64 * 1024, 32), 32U);
    EXPECT_EQ(Pace::RingSlots(1024 * 1024, 8972), 64U);
    EXPECT_EQ(Pace::RingSlots(1, 32), 0U); // even then it goes on
    Pace pace;
    pace.Begin(0);
    EXPECT_GT(pace.Wait(1, Pace::Clock::now()), 0ms);
    EXPECT_EQ(pace.Wait(1, Pace::Clock::now() + 1s), 0ms);
}

} // namespace
} // namespace vnxtest
