// Socket-notify mode of the simulated LAN: a real socket that can be waited on and shut down.

#include <atomic>
#include <chrono>
#include <thread>

#include <gtest/gtest.h>

#include <poll.h>
#include <sys/select.h>
#include <sys/socket.h>

#include "vnetx/sim.h"
#include "vnetx/sim_guest.h"

namespace vnxtest {

namespace {

using Clock = std::chrono::steady_clock;

bool Readable(std::int32_t handle, int milliseconds) {
    pollfd wait{handle, POLLIN, 0};
    return poll(&wait, 1, milliseconds) == 1;
}

TEST(SimNotify, TheSocketIsReadableWhileFramesWait) {
    const auto lan = Lan(L"");
    SimGuest guest(*lan, {.socketNotify = true});
    EXPECT_FALSE(Readable(guest.Handle(), 0));
    EXPECT_TRUE(guest.Read().empty()) << "a read never waits";
    for (std::uint16_t n = 1; n <= 3; ++n) {
        guest.Ping(kSimFirstEchoHost, n);
    }
    fd_set set;
    FD_ZERO(&set);
    FD_SET(guest.Handle(), &set);
    EXPECT_EQ(select(guest.Handle() + 1, &set, nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(guest.ReadReplies().answered, 3) << "the burst is there at once";
    EXPECT_FALSE(Readable(guest.Handle(), 0));
    guest.Ping(kSimFirstEchoHost, 4);
    EXPECT_TRUE(Readable(guest.Handle(), 0)) << "and again after it was drained";
    EXPECT_EQ(guest.ReadReplies().answered, 1);
}

TEST(SimNotify, AReplyThatComesLaterMakesItReadableThen) {
    const auto lan = Lan(L"delay=50");
    SimGuest guest(*lan, {.socketNotify = true});
    const auto start = Clock::now();
    guest.Ping(kSimFirstEchoHost, 1);
    while (guest.ReadReplies().answered == 0) {
        ASSERT_TRUE(Readable(guest.Handle(), 5000));
    }
    const auto took = Clock::now() - start;
    EXPECT_GE(took, std::chrono::milliseconds(49));
    EXPECT_LT(took, std::chrono::milliseconds(2000));
}

TEST(SimNotify, AShutDownWakesTheWaiterForGood) {
    const auto lan = Lan(L"");
    SimGuest guest(*lan, {.socketNotify = true});
    std::atomic<bool> woken{false};
    std::thread waiter([&] {
        Readable(guest.Handle(), -1);
        woken = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(woken);
    ASSERT_EQ(shutdown(guest.Handle(), SHUT_RDWR), 0);
    waiter.join();
    EXPECT_TRUE(guest.Read().empty());
    EXPECT_TRUE(Readable(guest.Handle(), 0)) << "and does not sleep again";
    // Frames may still be written, and the handle is still there to be closed.
    EXPECT_GT(guest.Ping(kSimFirstEchoHost, 1), 0);
    EXPECT_TRUE(guest.Read().empty());
    EXPECT_EQ(guest.Statistics().writeCalls, 1);
    const std::int32_t handle = guest.Handle();
    guest.Close();
    pollfd closed{handle, POLLIN, 0};
    poll(&closed, 1, 0);
    EXPECT_EQ(closed.revents, POLLNVAL) << "no socket is left behind";
}

TEST(SimNotify, AShutDownEndsAFlood) {
    const auto lan = Lan(L"");
    SimGuest guest(*lan, {.socketNotify = true});
    std::atomic<bool> stop{false};
    std::thread sender([&] {
        while (!stop) {
            for (std::uint16_t n = 1; n <= 50; ++n) {
                guest.Ping(kSimFirstEchoHost, n, 8);
            }
        }
    });
    // The monitor thread's way of reading: until nothing is left. It must come to an end although
    // there is always something left.
    std::thread reader([&] {
        while (!stop) {
            Readable(guest.Handle(), 100);
            while (!guest.Read().empty()) {
            }
        }
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    ASSERT_EQ(shutdown(guest.Handle(), SHUT_RDWR), 0);
    const auto start = Clock::now();
    stop = true;
    sender.join();
    reader.join();
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(2));
}

TEST(SimNotify, ManyInterfacesOpenAndCloseWithoutLeavingAnything) {
    const auto lan = Lan(L"delay=1,pinger=1");
    for (int i = 0; i < 200; ++i) {
        SimGuest first(*lan, {.tap = true, .socketNotify = true});
        SimGuest second(*lan, {.ip = kSecondGuest, .socketNotify = i % 2 == 0, .timeout = 1});
        EXPECT_LT(first.Handle(), 100);
        first.Ping(kSecondGuest, 1);
        second.Read();
    }
}

} // namespace

} // namespace vnxtest
