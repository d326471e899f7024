#include <gtest/gtest.h>

#include "core/output_channel.h"
#include "hostnet/scripted_host.h"
#include "hostnet/sim_host.h"
#include "vnetx/sim_lan.h"

namespace vnxtest {
namespace {

class SimHostTest : public ::testing::Test {
protected:
    SimHostTest() { library.defaultInterface = "02:56:4E:12:00:01"; }
    ~SimHostTest() override { UnregisterDebugOutput(); }

    ScriptedTables tables;
    ScriptedWrenPack adapters;
    SimHostTables simTables{tables};
    SimWrenPack simAdapters{adapters};
    DefaultingLibrary library;
    HostNetwork network{{simTables, simAdapters}, library};
};

TEST_F(SimHostTest, PutsItselfBehindTheRealHost) {
    tables.AddRoute({}, {}, {10, 0, 0, 254}, 1);
    tables.AddAddress({10, 0, 0, 1}, kMask24, 1);
    adapters.entries = {MakeAdapter(L"a", kMacA, {10, 0, 0, 1}, kMask24)};
    network.InitGlobals();
    ASSERT_EQ(network.Adapters().size(), 2U);
    EXPECT_EQ(FieldText(network.Adapters()[0].AdapterName), L"NPF_a");
    ASSERT_NE(network.DefaultAdapter(), nullptr);
    EXPECT_EQ(network.DefaultAdapterIpText(), L"198.18.0.1");
    ASSERT_EQ(network.Routes()->size(), 2U);
    EXPECT_EQ((*network.Routes())[0].nextHop, Ipv4Address(10, 0, 0, 254));
    EXPECT_TRUE(network.FindDefaultGateway());
    EXPECT_EQ(network.DefaultGateway(), kSimGatewayIp);
    EXPECT_EQ(network.DefaultGatewayMac(), kSimGatewayMac);
    EXPECT_EQ(network.GetInterfaceIPString((*network.Routes())[1].interfaceIndex), L"198.18.0.1");
    EXPECT_EQ(network.GetHostMaskByIP(kSimAdapterIp), kSimNetMask);
    EXPECT_TRUE(tables.probes.empty()) << "the simulated LAN is not looked for on the real one";
}

TEST_F(SimHostTest, IsThereOnAHostThatHasNothing) {
    network.InitGlobals();
    ASSERT_EQ(network.Adapters().size(), 1U);
    EXPECT_EQ(network.Routes()->size(), 1U);
    EXPECT_NE(FieldText(network.Adapters()[0].Description).find(L"imulated"), std::wstring::npos);
}

TEST_F(SimHostTest, AFailedTableStaysAFailure) {
    tables.routesCode = 5;
    network.InitGlobals();
    EXPECT_FALSE(network.Routes());
}

TEST_F(SimHostTest, AnswersForItsLanAndForNoOther) {
    MacAddress mac;
    EXPECT_TRUE(network.IsIPAddrResponsive(kSimFirstEchoHost, &mac, {}));
    EXPECT_EQ(mac, SimStationMac(2));
    EXPECT_FALSE(network.IsIPAddrResponsive(kSimSilentHost, &mac, {}));
    EXPECT_TRUE(tables.probes.empty());
    EXPECT_FALSE(network.IsIPAddrResponsive({198, 18, 1, 1}, &mac, {}));
    EXPECT_EQ(tables.probes.size(), 1U);
}

TEST_F(SimHostTest, OpensItsOwnAdapterAndLeavesTheOthersToTheirLibrary) {
    adapters.entries = {MakeAdapter(L"a", kMacA)};
    network.InitGlobals();
    std::vector<AdapterHandle> handles;
    for (const auto& entry : network.Adapters()) {
        handles.push_back(simAdapters.OpenAdapter(entry.AdapterName));
        EXPECT_NE(handles.back(), nullptr);
    }
    EXPECT_EQ(adapters.opened, (std::vector<std::wstring>{L"NPF_a"}));
    simAdapters.CloseAdapters(handles);
    EXPECT_EQ(adapters.open, 0);
}

} // namespace
} // namespace vnxtest
