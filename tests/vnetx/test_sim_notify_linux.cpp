// Socket-notify mode of the simulated LAN: a real socket that can be waited on and shut down.

#include <chrono>
#include <future>

#include <gtest/gtest.h>

#include <poll.h>
#include <sys/socket.h>

#include "vnetx/library_guest.h"

namespace vnxtest {
namespace {

using namespace std::chrono_literals;

class SimNotify : public testing::Test {
protected:
    bool Readable(int milliseconds) const {
        pollfd wait{m_guest.Handle(), POLLIN, 0};
        return poll(&wait, 1, milliseconds) == 1;
    }

    const std::unique_ptr<SimLibrary> m_lan = Lan(L"delay=50");
    LibraryGuest m_guest{*m_lan, {.socketNotify = true}};
};

TEST_F(SimNotify, TheSocketIsReadableWhileFramesWait) {
    EXPECT_FALSE(Readable(0));
    EXPECT_TRUE(m_guest.Read().empty()) << "a read never waits";
    for (const int burst : {3, 1}) {
        const auto start = std::chrono::steady_clock::now();
        for (std::uint16_t n = 1; n <= burst; ++n) {
            m_guest.Ping(kSimFirstEchoHost, n);
        }
        for (int got = 0; got < burst;) {
            ASSERT_TRUE(Readable(5000));
            got += m_guest.ReadReplies().answered;
        }
        EXPECT_GE(std::chrono::steady_clock::now() - start, 49ms);
        EXPECT_FALSE(Readable(0));
    }
}

TEST_F(SimNotify, AShutDownWakesTheWaiterForGoodWhateverIsStillToBeRead) {
    auto waiter = std::async(std::launch::async, [&] { return Readable(-1); });
    EXPECT_EQ(waiter.wait_for(20ms), std::future_status::timeout);
    ASSERT_EQ(shutdown(m_guest.Handle(), SHUT_RDWR), 0);
    EXPECT_TRUE(waiter.get());
    // Frames may still be written. Reading ends soon, whatever comes: who reads until nothing is left
    // must come to an end under a flood.
    for (std::uint16_t n = 1; n <= 500; ++n) {
        EXPECT_GT(m_guest.Ping(kSimFirstEchoHost, n), 0);
    }
    std::this_thread::sleep_for(60ms);
    EXPECT_LT(m_guest.ReadReplies().answered, 400);
    EXPECT_TRUE(m_guest.Read().empty());
    EXPECT_TRUE(Readable(0)) << "and does not sleep again";
    pollfd closed{m_guest.Handle(), POLLIN, 0};
    m_guest.Close();
    poll(&closed, 1, 0);
    EXPECT_EQ(closed.revents, POLLNVAL) << "no socket is left behind";
}

TEST_F(SimNotify, ManyInterfacesOpenAndCloseWithoutLeavingAnything) {
    const auto lan = Lan(L"delay=1,pinger=1");
    for (int i = 0; i < 200; ++i) {
        LibraryGuest first(*lan, {.tap = true, .socketNotify = true});
        LibraryGuest second(*lan, {.ip = kSecondGuest, .socketNotify = i % 2 == 0, .timeout = 1});
        EXPECT_LT(first.Handle(), 100);
        first.Ping(kSecondGuest, 1);
        second.Read();
    }
}

} // namespace
} // namespace vnxtest
