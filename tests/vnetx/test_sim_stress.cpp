// The simulated LAN under all operations at once.

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "vnetx/library_guest.h"

namespace vnxtest {
namespace {

// Every operation on every thread at once, and the handles closed under them.
TEST(SimThreads, OperationsRunAtOnceOnManyThreads) {
    const auto lan = Lan(L"dup=10,delay=0.2,jitter=0.5,reorder=10,pinger=1");
    for (int round = 0; round < 20; ++round) {
        LibraryGuest first(*lan, {.tap = true, .timeout = 5});
        LibraryGuest second(*lan, {.ip = kSecondGuest, .socketNotify = round % 2 == 0, .timeout = 5});
        std::atomic<bool> stop{false};
        std::vector<std::thread> threads;
        // `operation`, again and again until the end, on a thread of its own.
        const auto run = [&](auto operation) {
            threads.emplace_back([&stop, operation]() mutable {
                while (!stop) {
                    operation();
                }
            });
        };
        for (LibraryGuest* guest : {&first, &second}) {
            const std::int32_t handle = guest->Handle();
            for (int i = 0; i < 2; ++i) {
                run([&lan, handle, buffer = Bytes(65535)]() mutable {
                    lan->Read(handle, buffer.data(), 65535);
                });
            }
            run([&lan, handle] {
                VnetxStatistics statistics{};
                statistics.length = sizeof statistics;
                lan->GetStats(handle, &statistics);
                AskMac(*lan, handle, kFirstGuest);
                lan->Counters();
            });
            Bytes frame = Request(guest->Ip(), kFirstGuest);
            if (guest == &first) {
                frame = EthernetFrame(kSimGatewayMac, guest->Mac(), kEtherTypeIpv4, frame);
            }
            run([&lan, handle, frame] {
                lan->Write(handle, frame.data(), static_cast<std::uint32_t>(frame.size()));
            });
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        // Closed while all of it runs; what still comes finds a handle that is not open.
        first.Close();
        second.Close();
        stop = true;
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    EXPECT_EQ(lan->InterfacesOpened(), 40u);
}

} // namespace
} // namespace vnxtest
