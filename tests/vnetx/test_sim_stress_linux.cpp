// The simulated LAN's notify socket, bytes that no guest would send, and all operations at once.

#include <atomic>
#include <random>
#include <thread>

#include <poll.h>
#include <sys/socket.h>

#include "vnetx/sim_guest.h"

namespace vnxtest {

namespace {

TEST(SimNotify, TheSocketIsReadableWhileFramesWaitAndForGoodAfterAShutDown) {
    const auto lan = Lan(L"delay=20");
    SimGuest guest(*lan, {.socketNotify = true});
    pollfd wait{guest.handle, POLLIN, 0};
    for (int round = 1; round <= 2; ++round) { // again after it was drained
        EXPECT_EQ(poll(&wait, 1, 0), 0);
        EXPECT_TRUE(guest.ReadFrame().empty()) << "a read never waits";
        const auto start = Clock::now();
        guest.Ping(kSimFirstEchoHost, round);
        do {
            ASSERT_EQ(poll(&wait, 1, 5000), 1);
        } while (guest.ReadReplies().answered == 0);
        EXPECT_GE(Clock::now() - start, 19ms);
    }
    std::thread waiter([&] { EXPECT_EQ(poll(&wait, 1, 5000), 1); });
    std::this_thread::sleep_for(20ms);
    ASSERT_EQ(shutdown(guest.handle, SHUT_RDWR), 0);
    waiter.join();
    EXPECT_EQ(poll(&wait, 1, 0), 1) << "nobody sleeps again";
    // Frames may still be written, and come; a thread that reads until nothing is left is let go.
    for (int n = 1; n <= 200; ++n) {
        EXPECT_GT(guest.Ping(kSimFirstEchoHost, n), 0);
    }
    std::this_thread::sleep_for(30ms);
    EXPECT_LT(guest.ReadReplies().answered, 100);
    guest.Close();
    poll(&wait, 1, 0);
    EXPECT_EQ(wait.revents, POLLNVAL) << "no socket is left behind";
}

// Every operation on every thread at once, frames that are nearly right, cut or overwritten at random
// among them, and the handles closed under all of it. Sound pings are answered afterwards.
TEST(SimStress, OperationsAndAnyBytesAtOnceOnManyThreads) {
    const auto lan = Lan(L"dup=10,truncate=10,corrupt=10,delay=0.2,jitter=0.5,reorder=10,pinger=1");
    for (unsigned round = 0; round < 20; ++round) {
        SimGuest first(*lan, {.tap = true, .timeout = 5});
        SimGuest second(*lan, {.ip = kSecondGuest, .socketNotify = round % 2 == 0, .timeout = 5});
        std::atomic<bool> stop{false};
        std::vector<std::thread> threads;
        for (SimGuest* guest : {&first, &second}) {
            const auto repeat = [&, handle = guest->handle](auto operation) {
                threads.emplace_back([&lan, &stop, handle, operation]() mutable {
                    GuestHandle own(*lan); // closes, once more, at its end
                    for (own.handle = handle; !stop;) {
                        operation(own);
                    }
                });
            };
            repeat([](GuestHandle& own) { own.Read(); });
            repeat([](GuestHandle& own) { own.Read(); });
            const auto arp = BuildArpFrame(MacAddress::Broadcast(), guest->Mac(),
                                           {kArpRequest, guest->Mac(), guest->Ip(), {}, kSimGatewayIp});
            for (const Bytes& sound :
                 {guest->Framed(kSimGatewayMac, guest->Echo(kIcmpEchoRequest, kFirstGuest, 1)),
                  Bytes(arp.begin(), arp.end())}) {
                repeat([sound, random = std::mt19937(round)](GuestHandle& own) mutable {
                    Bytes frame = sound;
                    for (auto changes = random() % 4; changes > 0; --changes) {
                        frame[random() % frame.size()] = static_cast<std::uint8_t>(random());
                    }
                    frame.resize(random() % 2 == 0 ? frame.size() : 1 + random() % frame.size());
                    own.Write(frame);
                });
            }
            repeat([&lan](GuestHandle& own) {
                own.Statistics();
                own.Arp(kFirstGuest);
                lan->Counters();
            });
        }
        std::this_thread::sleep_for(10ms);
        // Closed while all of it runs; what still comes finds a handle that is not open.
        first.Close();
        second.Close();
        stop = true;
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    SimGuest sound(*lan, {});
    for (int n = 1; n <= 20; ++n) {
        sound.Ping(kSimLastEchoHost, n);
    }
    EXPECT_GT(sound.ReadReplies().answered, 0);
}

} // namespace

} // namespace vnxtest
