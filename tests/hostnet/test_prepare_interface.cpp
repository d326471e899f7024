#include <thread>

#include <gtest/gtest.h>

#include "hostnet/scripted_host.h"

namespace vnxtest {
namespace {

class PrepareInterfaceTest : public ::testing::Test, protected ScriptedHost {
protected:
    PrepareInterfaceTest() {
        adapters.entries = {MakeAdapter(L"a", kMacA, {10, 0, 0, 1}, kMask24)};
        tables.AddAddress({10, 7, 0, 1}, {255, 255, 0, 0}, 1);
        library.neighbourMac = {0x02, 0, 0, 0, 0, 0x0A};
        library.neighbourIp = {10, 0, 0, 1};
        network.InitGlobals();
        info.adapterIp = {10, 0, 0, 1};
        info.guestIp = {10, 0, 0, 99};
        info.guestIpText = L"10.0.0.99";
    }
    INTERFACE_INFO info;
};

TEST_F(PrepareInterfaceTest, TheMaskOfASecondaryAddressAndTheBroadcastThatIsSet) {
    info.adapterIp = {10, 7, 0, 1};
    info.adapterMac = kMacA;
    info.guestIp = {10, 7, 200, 3};
    PrepareInterface(info, library, network);
    EXPECT_TRUE(library.arpRequests.empty());
    EXPECT_TRUE(info.inAdapterSubnet);
    EXPECT_EQ(info.broadcastText, L"10.7.255.255");

    info.guestIp = {10, 0, 1, 99};
    PrepareInterface(info, library, network);
    EXPECT_FALSE(info.inAdapterSubnet);
    EXPECT_EQ(info.broadcastText, L"10.7.255.255") << "what is set stays";
}

TEST_F(PrepareInterfaceTest, WhatTheLibraryDoesNotKnowIsAskedForAgainByTwoWritersAtOnce) {
    library.silentArpRequests = 2000;
    PrepareInterface(info, library, network);
    EXPECT_TRUE(info.adapterMac.IsZero() && !info.addressesKnown);
    info.handle = 5;
    const auto writer = [this] {
        for (int i = 0; i < 2000; ++i) {
            RefreshAdapterAddresses(info, library, network);
            if (info.addressesKnown.load(std::memory_order_acquire)) {
                ASSERT_EQ(info.adapterMac, kMacA); // complete, without the lock
                ASSERT_EQ(info.netMask, kMask24);
            }
        }
    };
    std::thread second(writer);
    writer();
    second.join();
    EXPECT_TRUE(info.addressesKnown);
    EXPECT_EQ(library.lastArp.first, 5) << "the handle as it stands";
}

TEST_F(PrepareInterfaceTest, NobodyWhoNeedsTheLockWaitsForAnAnswer) {
    bool isFree = false;
    library.onArpRequest = [&] {
        std::thread([&] {
            isFree = info.addressLock.try_lock();
            if (isFree) {
                info.addressLock.unlock();
            }
        }).join();
    };
    PrepareInterface(info, library, network);
    EXPECT_TRUE(isFree) << "a stop needs it";
    EXPECT_EQ(info.adapterMac, kMacA);
}

} // namespace
} // namespace vnxtest
