// Socket-notify mode of the simulated LAN: a real socket that can be waited on and shut down.

#include <atomic>
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

TEST_F(SimNotify, AShutDownWakesTheWaiterForGoodWhateverIsStillToBeRead) {
    EXPECT_TRUE(m_guest.Read().empty()) << "a read never waits";
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

// Every operation on every thread at once, and the handles closed under them.
TEST_F(SimNotify, ManyInterfacesOpenAndCloseUnderLoadWithoutLeavingAnything) {
    const auto lan = Lan(L"dup=10,jitter=0.5,reorder=10,pinger=1");
    for (int round = 0; round < 40; ++round) {
        LibraryGuest first(*lan, {.tap = true, .socketNotify = true});
        LibraryGuest second(*lan, {.ip = kSecondGuest, .socketNotify = round % 2 == 0, .timeout = 5});
        EXPECT_LT(first.Handle(), 100);
        std::atomic<bool> stop{false};
        std::vector<std::thread> threads;
        for (const std::int32_t handle : {first.Handle(), second.Handle(), first.Handle(), second.Handle()}) {
            threads.emplace_back([&, handle] {
                Bytes buffer(65535);
                const Bytes packet = Request(kFirstGuest, kSecondGuest);
                VnetxStatistics statistics{};
                statistics.length = sizeof statistics;
                while (!stop) {
                    lan->Read(handle, buffer.data(), 65535);
                    lan->GetStats(handle, &statistics);
                    AskMac(*lan, handle, kSecondGuest);
                    lan->Write(handle, packet.data(), static_cast<std::uint32_t>(packet.size()));
                }
            });
        }
        std::this_thread::sleep_for(5ms);
        first.Close();
        second.Close();
        stop = true;
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    EXPECT_EQ(lan->InterfacesOpened(), 80u);
}

} // namespace
} // namespace vnxtest
