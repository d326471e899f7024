#include <map>
#include <thread>

#include <gtest/gtest.h>

#include "core/prepare_interface.h"
#include "support/scripted_library.h"

namespace vnxtest {
namespace {

constexpr MacAddress kMacA({0x02, 0, 0, 0, 0, 0x0A});
constexpr Ipv4Address kMask24(255, 255, 255, 0);

class PrepareInterfaceTest : public ::testing::Test {
protected:
    PrepareInterfaceTest() {
        library.neighbourMac = {0x02, 0, 0, 0, 0, 0x0A};
        library.neighbourIp = {10, 0, 0, 1};
        addresses.adapterIp = {10, 0, 0, 1};
        addresses.guestIp = {10, 0, 0, 99};
        info.asked.guestIpText = L"10.0.0.99";
    }
    ScriptedLibrary library;
    INTERFACE_INFO info;
    InterfaceAddresses& addresses = info.addresses;
    std::map<Ipv4Address, Ipv4Address> masks{{{10, 0, 0, 1}, kMask24}, {{10, 7, 0, 1}, {255, 255, 0, 0}}};
    const MaskLookup maskOf = [this](Ipv4Address address) {
        const auto found = masks.find(address);
        return found != masks.end() ? found->second : Ipv4Address();
    };
};

TEST_F(PrepareInterfaceTest, TheMaskOfASecondaryAddressAndTheBroadcastThatIsSet) {
    addresses.adapterIp = {10, 7, 0, 1};
    addresses.adapterMac = kMacA;
    addresses.guestIp = {10, 7, 200, 3};
    PrepareInterface(info, library, maskOf);
    EXPECT_TRUE(library.arpRequests.empty());
    EXPECT_TRUE(addresses.inAdapterSubnet);
    EXPECT_EQ(addresses.broadcastText, L"10.7.255.255");

    addresses.guestIp = {10, 0, 1, 99};
    PrepareInterface(info, library, maskOf);
    EXPECT_FALSE(addresses.inAdapterSubnet);
    EXPECT_EQ(addresses.broadcastText, L"10.7.255.255") << "what is set stays";
}

TEST_F(PrepareInterfaceTest, WhatTheLibraryDoesNotKnowIsAskedForAgainByTwoWritersAtOnce) {
    library.silentArpRequests = 2000;
    PrepareInterface(info, library, maskOf);
    EXPECT_TRUE(addresses.adapterMac.IsZero() && !addresses.adapterKnown);
    info.open.Open(library, "10.0.0.1", VNETX_OPEN_READ_WRITE);
    info.open.Publish();
    const auto writer = [this] {
        for (int i = 0; i < 2000; ++i) {
            RefreshAdapterAddresses(addresses, info.open.Handle(), library, maskOf);
            if (addresses.adapterKnown.load(std::memory_order_acquire)) {
                ASSERT_EQ(addresses.adapterMac, kMacA); // complete, without the lock
                ASSERT_EQ(addresses.netMask, kMask24);
            }
        }
    };
    std::thread second(writer);
    writer();
    second.join();
    EXPECT_TRUE(addresses.adapterKnown);
    EXPECT_EQ(library.lastArp.first, info.open.Handle()) << "the handle as it stands";
}

TEST_F(PrepareInterfaceTest, NobodyWhoNeedsTheLockWaitsForAnAnswer) {
    bool isFree = false;
    library.onArpRequest = [&] {
        std::thread([&] {
            isFree = addresses.adapterLock.try_lock();
            if (isFree) {
                addresses.adapterLock.unlock();
            }
        }).join();
    };
    PrepareInterface(info, library, maskOf);
    EXPECT_TRUE(isFree) << "a stop needs it";
    EXPECT_EQ(addresses.adapterMac, kMacA);
}

} // namespace
} // namespace vnxtest
