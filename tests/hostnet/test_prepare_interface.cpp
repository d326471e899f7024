#include <thread>

#include <gtest/gtest.h>

#include "core/output_channel.h"
#include "hostnet/scripted_host.h"

namespace vnxtest {
namespace {

// A library that knows one adapter: kMacA at 10.0.0.1.
class ArpLibrary : public DefaultingLibrary {
public:
    std::int32_t Ioctl(std::int32_t handle, std::uint32_t request, void* record) override {
        ++asked;
        lastHandle = handle;
        auto* arp = static_cast<VnetxArpRequest*>(record);
        EXPECT_EQ(arp->protocolFamily, 2);
        EXPECT_EQ(arp->hardwareFamily, 0);
        EXPECT_EQ(arp->flags, 4U);
        if (silent) {
            return -1;
        }
        if (request == VNETX_SIOCGARP && std::memcmp(arp->protocolAddress, "\x0A\0\0\x01", 4) == 0) {
            std::memcpy(arp->hardwareAddress, kMacA.Bytes().data(), 6);
            return 0;
        }
        if (request == VNETX_SIOCGRARP && std::memcmp(arp->hardwareAddress, kMacA.Bytes().data(), 6) == 0) {
            std::memcpy(arp->protocolAddress, "\x0A\0\0\x01", 4);
            return 0;
        }
        return -1;
    }
    std::atomic<int> asked{0};
    std::atomic<int> lastHandle{0};
    std::atomic<bool> silent{false};
};

class PrepareInterfaceTest : public ::testing::Test {
protected:
    PrepareInterfaceTest() {
        adapters.entries = {MakeAdapter(L"a", kMacA, {10, 0, 0, 1}, kMask24)};
        tables.AddAddress({10, 7, 0, 1}, {255, 255, 0, 0}, 1);
        network.InitGlobals();
        info.guestIp = {10, 0, 0, 99};
        info.guestIpText = L"10.0.0.99";
    }
    ~PrepareInterfaceTest() override { UnregisterDebugOutput(); }

    ScriptedTables tables;
    ScriptedWrenPack adapters;
    ArpLibrary library;
    HostNetwork network{{tables, adapters}, library};
    INTERFACE_INFO info;
};

TEST_F(PrepareInterfaceTest, AsksForTheMacOfTheAdapterIp) {
    info.adapterIp = {10, 0, 0, 1};
    PrepareInterface(info, network);
    EXPECT_EQ(library.asked, 1);
    EXPECT_EQ(library.lastHandle, -1) << "the interface is not open yet";
    EXPECT_EQ(info.adapterMac, kMacA);
    EXPECT_EQ(info.netMask, kMask24);
    EXPECT_TRUE(info.inAdapterSubnet);
    EXPECT_EQ(info.broadcastIp, Ipv4Address(10, 0, 0, 255));
    EXPECT_EQ(info.broadcastText, L"10.0.0.255");
    EXPECT_TRUE(info.addressesKnown);
}

TEST_F(PrepareInterfaceTest, AsksForTheIpOfTheAdapterMac) {
    info.adapterMac = kMacA;
    PrepareInterface(info, network);
    EXPECT_EQ(info.adapterIp, Ipv4Address(10, 0, 0, 1));
    EXPECT_EQ(info.netMask, kMask24);
}

TEST_F(PrepareInterfaceTest, TakesTheMaskOfASecondaryAddressFromTheTable) {
    info.adapterIp = {10, 7, 0, 1};
    info.adapterMac = kMacA;
    info.guestIp = {10, 7, 200, 3};
    PrepareInterface(info, network);
    EXPECT_EQ(library.asked, 0);
    EXPECT_EQ(info.netMask, Ipv4Address(255, 255, 0, 0));
    EXPECT_TRUE(info.inAdapterSubnet);
    EXPECT_EQ(info.broadcastText, L"10.7.255.255");
}

TEST_F(PrepareInterfaceTest, KeepsABroadcastThatIsSetAndNeedsAGuestForOne) {
    info.adapterIp = {10, 0, 0, 1};
    info.guestIp = {10, 0, 1, 99};
    info.broadcastText = L"10.0.1.7";
    PrepareInterface(info, network);
    EXPECT_FALSE(info.inAdapterSubnet);
    EXPECT_EQ(info.broadcastText, L"10.0.1.7");

    INTERFACE_INFO empty;
    empty.adapterIp = {10, 0, 0, 1};
    PrepareInterface(empty, network);
    EXPECT_EQ(empty.broadcastText, L"");
}

TEST_F(PrepareInterfaceTest, IsSilentAboutWhatTheLibraryDoesNotKnowAndAsksAgain) {
    library.silent = true;
    info.adapterIp = {10, 0, 0, 1};
    PrepareInterface(info, network);
    EXPECT_TRUE(info.adapterMac.IsZero());
    EXPECT_FALSE(info.addressesKnown);

    library.silent = false;
    info.handle = 5;
    RefreshAdapterAddresses(info, network);
    EXPECT_EQ(library.lastHandle, 5) << "the handle as it stands";
    EXPECT_EQ(info.adapterMac, kMacA);
    const int asked = library.asked;
    RefreshAdapterAddresses(info, network);
    EXPECT_EQ(library.asked, asked) << "known addresses are not asked for";

    // A new start begins anew.
    info.adapterMac = {};
    PrepareInterface(info, network);
    EXPECT_EQ(info.adapterMac, kMacA);
}

TEST_F(PrepareInterfaceTest, TwoWritersRefreshAtOnce) {
    library.silent = true;
    info.adapterIp = {10, 0, 0, 1};
    PrepareInterface(info, network);
    const auto writer = [this] {
        for (int i = 0; i < 2000; ++i) {
            RefreshAdapterAddresses(info, network);
            if (info.addressesKnown.load(std::memory_order_acquire)) {
                ASSERT_EQ(info.adapterMac, kMacA); // complete, without the lock
                ASSERT_EQ(info.netMask, kMask24);
            }
            if (i == 1000) {
                library.silent = false;
            }
        }
    };
    std::thread first(writer);
    std::thread second(writer);
    first.join();
    second.join();
    EXPECT_TRUE(info.addressesKnown);
}

} // namespace
} // namespace vnxtest
