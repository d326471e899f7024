// The simulated LAN under bytes that no guest would send, and under all operations at once.

#include <atomic>
#include <chrono>
#include <random>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "vnetx/sim_guest.h"

namespace vnxtest {

namespace {

class SimStress : public ::testing::TestWithParam<bool> {};

// Frames that are nearly right, cut, lengthened and overwritten at random: none does harm, and a
// sound ping is answered afterwards.
TEST_P(SimStress, AnyBytesDoNoHarm) {
    const auto lan = Lan(L"dup=20,truncate=20,corrupt=20,df=10,foreign=10,seed=2");
    const auto sane = Lan();
    for (SimLibrary* library : {lan.get(), sane.get()}) {
        SimGuest guest(*library, {.tap = GetParam(), .timeout = 1});
        SimGuest other(*library, {.tap = !GetParam(), .ip = kSecondGuest, .timeout = 1});
        std::mt19937 random(42);
        SimEcho echo{.source = kFirstGuest, .destination = kSimFirstEchoHost, .type = kIcmpEchoRequest};
        Bytes sound(SimEchoLength(echo) + 10);
        for (int i = 0; i < 20000; ++i) {
            echo.destination = Ipv4Address(198, 18, 0, static_cast<std::uint8_t>(random()));
            BuildSimEcho(echo, {}, sound.data());
            Bytes frame(GetParam() ? kEthernetHeaderLength : 0);
            if (GetParam()) {
                const auto number = static_cast<std::uint8_t>(random());
                BuildEthernetHeader(frame.data(), {SimStationMac(number), guest.Mac(),
                                                   random() % 4 == 0 ? kEtherTypeArp : kEtherTypeIpv4});
            }
            frame.insert(frame.end(), sound.begin(), sound.end());
            for (auto changes = random() % 4; changes > 0; --changes) {
                frame[random() % frame.size()] = static_cast<std::uint8_t>(random());
            }
            frame.resize(1 + random() % frame.size());
            guest.Write(frame);
            if (i % 64 == 0) {
                std::uint8_t buffer[100];
                library->Read(guest.Handle(), buffer, sizeof buffer);
                library->Read(other.Handle(), buffer,
                              static_cast<std::uint32_t>(1 + random() % sizeof buffer));
            }
        }
        while (!guest.Read().empty() || !other.Read().empty()) {
        }
    }
    SimGuest guest(*sane, {.tap = GetParam()});
    guest.Ping(kSimLastEchoHost, 1);
    EXPECT_EQ(guest.ReadPacket().size(), 60u);
}

INSTANTIATE_TEST_SUITE_P(Sim, SimStress, ::testing::Bool(),
                         [](const auto& mode) { return mode.param ? "Tap" : "Tun"; });

// Every operation on every thread at once, and the handles closed under them.
TEST(SimThreads, OperationsRunAtOnceOnManyThreads) {
    const auto lan = Lan(L"dup=10,delay=0.2,jitter=0.5,reorder=10,pinger=1");
    for (int round = 0; round < 20; ++round) {
        SimGuest first(*lan, {.tap = true, .timeout = 5});
        SimGuest second(*lan, {.ip = kSecondGuest, .socketNotify = round % 2 == 0, .timeout = 5});
        std::atomic<bool> stop{false};
        std::vector<std::thread> threads;
        for (const std::int32_t handle : {first.Handle(), second.Handle()}) {
            for (int i = 0; i < 2; ++i) {
                threads.emplace_back([&, handle] {
                    Bytes buffer(65535);
                    while (!stop) {
                        lan->Read(handle, buffer.data(), 65535);
                    }
                });
            }
            threads.emplace_back([&, handle] {
                VnetxStatistics statistics{};
                while (!stop) {
                    statistics.length = sizeof statistics;
                    lan->GetStats(handle, &statistics);
                    VnetxArpRequest record{};
                    record.protocolFamily = VNETX_AF_INET;
                    StoreIpv4(record.protocolAddress, kFirstGuest);
                    lan->Ioctl(handle, VNETX_SIOCGARP, &record);
                    lan->Counters();
                }
            });
        }
        for (SimGuest* guest : {&first, &second}) {
            threads.emplace_back([&, guest, handle = guest->Handle()] {
                SimEcho echo{.source = guest->Ip(), .destination = kFirstGuest, .type = kIcmpEchoRequest};
                Bytes frame(kEthernetHeaderLength + SimEchoLength(echo));
                BuildEthernetHeader(frame.data(), {kSimGatewayMac, guest->Mac(), kEtherTypeIpv4});
                BuildSimEcho(echo, {}, frame.data() + kEthernetHeaderLength);
                const std::size_t skip = guest == &first ? 0 : kEthernetHeaderLength;
                while (!stop) {
                    lan->Write(handle, frame.data() + skip, static_cast<std::uint32_t>(frame.size() - skip));
                }
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
