// Socket-notify mode of the simulated LAN: a real socket that can be waited on and shut down.

#include <future>

#include <gtest/gtest.h>

#include <poll.h>
#include <sys/socket.h>

#include "vnetx/library_guest.h"

namespace vnxtest {
namespace {

using namespace std::chrono_literals;

TEST(SimNotify, AShutDownWakesTheWaiterForGoodWhateverIsStillToBeRead) {
    const auto lan = Lan(L"delay=50");
    LibraryGuest guest(*lan, {.socketNotify = true});
    pollfd wait{guest.Handle(), POLLIN, 0};
    EXPECT_TRUE(guest.Read().empty()) << "a read never waits";
    auto waiter = std::async(std::launch::async, [&] { return poll(&wait, 1, -1) == 1; });
    EXPECT_EQ(waiter.wait_for(20ms), std::future_status::timeout);
    ASSERT_EQ(shutdown(guest.Handle(), SHUT_RDWR), 0);
    EXPECT_TRUE(waiter.get());
    // Frames may still be written. Reading must end soon, even under a flood.
    for (std::uint16_t n = 1; n <= 500; ++n) {
        EXPECT_GT(guest.Ping(kSimFirstEchoHost, n), 0);
    }
    std::this_thread::sleep_for(60ms);
    EXPECT_LT(guest.ReadReplies().size(), 400u);
    EXPECT_TRUE(guest.Read().empty());
    EXPECT_EQ(poll(&wait, 1, 0), 1) << "and does not sleep again";
    guest.Close();
    poll(&wait, 1, 0);
    EXPECT_EQ(wait.revents, POLLNVAL) << "no socket is left behind";
}

} // namespace
} // namespace vnxtest
