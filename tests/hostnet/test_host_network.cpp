#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "hostnet/scripted_host.h"
#include "hostnet/sim_host.h"
#include "vnetx/sim/sim_lan.h"
#include "wrenlib/errors.h"

namespace vnxtest {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;
using Lines = std::vector<std::wstring>;

class HostNetworkTest : public ::testing::Test, protected ScriptedHost {
protected:
    HostNetworkTest() {
        adapters.entries = {MakeAdapter(L"a", kMacA, {10, 0, 0, 1}, kMask24),
                            MakeAdapter(L"b", kMacB, {10, 0, 1, 1}, kMask24, {10, 0, 1, 254})};
    }
};

TEST_F(HostNetworkTest, TracesEveryFailureInOrderAndSurvivesAll) {
    tables.parametersCode = 50;
    tables.routesCode = 5;
    tables.addressesCode = 13;
    adapters.listFailure = Failure{std::wstring(kAdapterListSizeQuery), 0, 2, {}};
    network.InitGlobals();
    const Lines trace = TakeTrace();
    ASSERT_EQ(trace.size(), 7U);
    EXPECT_EQ(trace[1], L"** InitGlobals: GetIpForwardTable() failed; rc=5, " + FormatLastError(5) + L"\n");
    EXPECT_FALSE(network.Parameters() || network.Routes() || network.Addresses());
    EXPECT_FALSE(network.DefaultAdapter() || network.IpForwardingEnabled() || network.FindDefaultGateway());
}

TEST_F(HostNetworkTest, TracesAListThatIsNotBelievedCannotBeHeldOrIsRefused) {
    const auto expectTrace = [this](const std::wstring& trace, std::uint32_t code) {
        EXPECT_FALSE(network.InitFPAdaptersList());
        EXPECT_EQ(TakeTrace(), Lines{Sprintf(L"** InitFPAdaptersList: %s; rc=%d: %s\n", trace, code,
                                             FormatLastError(code))});
        EXPECT_TRUE(network.Adapters().empty());
    };
    adapters.listFailure = Failure{L"WrenPackGetAdaptersList(!NULL,!0)", 0, 31, {}};
    expectTrace(L"WrenPackGetAdaptersList(!NULL,!0) failed", 31);
    adapters.listFailure = Failure{std::wstring(kAdapterListSizeQuery), 0, 31, L"succeeded?!"};
    expectTrace(L"WrenPackGetAdaptersList(NULL,0) succeeded?!", 31);
    adapters.listFailure = Failure{L"new ADAPTER_INFO_LIST_ENTRY [3121343]", 0, kErrorNotEnoughMemory, {}};
    expectTrace(L"new ADAPTER_INFO_LIST_ENTRY [3121343] failed", kErrorNotEnoughMemory);
    adapters.listFailure.reset();
    EXPECT_TRUE(network.InitFPAdaptersList()) << "a later attempt may succeed";
}

TEST_F(HostNetworkTest, TakesTheAdapterThatTheLibraryNamesAndProbesItsGateway) {
    library.defaultInterface = kMacTextB;
    network.InitGlobals();
    ASSERT_NE(network.DefaultAdapter(), nullptr);
    EXPECT_EQ(network.DefaultAdapter()->driverName, L"NPF_b");
    EXPECT_EQ(network.DefaultAdapterIpText(), L"10.0.1.1");
    EXPECT_THAT(tables.probes, ElementsAre(Pair(Ipv4Address(10, 0, 1, 254), Ipv4Address(10, 0, 1, 1))))
        << "from the adapter's own address";
    EXPECT_EQ(TakeTrace(), Lines{L"** InitGlobals: WARNING: default adapter gateway unresponsive!\n"});
    MacAddress mac = kMacB;
    EXPECT_FALSE(network.IsIPAddrResponsive({10, 0, 1, 254}, &mac, {}));
    EXPECT_TRUE(mac.IsZero());
    tables.answers[Ipv4Address(10, 0, 1, 254)] = kMacA;
    EXPECT_TRUE(network.IsIPAddrResponsive({10, 0, 1, 254}, &mac, {}));
    EXPECT_EQ(mac, kMacA);
    network.InitGlobals();
    EXPECT_TRUE(TakeTrace().empty());

    tables.probes.clear();
    library.defaultInterface = kMacTextA; // has no gateway
    network.RedetectAdapters();
    network.InitGlobals();
    EXPECT_EQ(TakeTrace(), Lines{L"** InitGlobals: WARNING: default adapter gateway undefined!\n"});
    EXPECT_TRUE(tables.probes.empty());

    library.defaultInterface = "02-00-00-00-00-0C"; // nobody's
    EXPECT_TRUE(network.RedetectAdapters());
    EXPECT_EQ(network.DefaultAdapter(), nullptr);
}

TEST_F(HostNetworkTest, LooksUpTheFirstRowOfSeveral) {
    adapters.entries = {MakeAdapter(L"bare", kMacA), MakeAdapter(L"a", kMacA, {10, 0, 0, 1}, kMask24),
                        MakeAdapter(L"b", kMacB, {10, 0, 0, 1}, {255, 0, 0, 0})};
    library.defaultInterface = kMacTextA;
    tables.AddAddress({10, 0, 0, 1}, {255, 255, 0, 0}, 7);
    tables.AddAddress({10, 0, 0, 2}, {255, 255, 255, 128}, 7);
    tables.AddAddress({10, 0, 0, 2}, kMask24, 8);
    network.InitGlobals();
    EXPECT_EQ(network.GetInterfaceIPString(7), L"10.0.0.1");
    EXPECT_EQ(network.GetHostMaskByIP({10, 0, 0, 1}), kMask24) << "the adapter's, not the table's";
    EXPECT_EQ(network.GetHostMaskByIP({10, 0, 0, 2}), Ipv4Address(255, 255, 255, 128)) << "a secondary one";
    EXPECT_TRUE(network.GetHostMaskByIP({10, 0, 0, 3}).IsZero());
    EXPECT_FALSE(network.IsAdapterIP({})) << "an adapter without an address has none";

    // Adapters came and went.
    adapters.entries = {MakeAdapter(L"c", kMacB, {10, 9, 0, 1}, {255, 255, 0, 0})};
    EXPECT_TRUE(network.RedetectAdapters());
    EXPECT_FALSE(network.IsAdapterMAC(kMacA) || network.DefaultAdapter());
    EXPECT_TRUE(network.IsAdapterIP({10, 9, 0, 1}));
}

TEST_F(HostNetworkTest, IsOfOneMomentAndKeepsTheUsersGateway) {
    const Ipv4Address old(10, 0, 0, 254), own(10, 0, 0, 77), later(10, 9, 0, 254);
    tables.AddRoute({}, {}, old, 7);
    tables.AddAddress({10, 0, 0, 1}, kMask24, 7);
    network.InitGlobals();
    EXPECT_FALSE(network.HasDefaultGateway()) << "the report looks for it";
    for (int report = 0; report < 2; ++report) {
        EXPECT_TRUE(network.FindDefaultGateway());
        EXPECT_EQ(network.DefaultGateway(), old);
    }
    EXPECT_THAT(tables.probes, ElementsAre(Pair(old, Ipv4Address()))) << "once";

    // The host changes as a whole, and the gateway of its routes with it.
    tables.routes.clear();
    tables.AddRoute({}, {}, later, 8);
    tables.addresses.clear();
    tables.networkParameters.forwardsPackets = true;
    tables.answers[later] = MacAddress({2, 0, 0, 0, 0, 9});
    EXPECT_TRUE(network.RedetectAdapters());
    EXPECT_TRUE(network.IpForwardingEnabled() && network.Addresses()->empty());
    EXPECT_EQ(network.Routes()->front().nextHop, later);
    EXPECT_EQ(network.DefaultGateway(), later);
    EXPECT_EQ(network.DefaultGatewayMac(), MacAddress({2, 0, 0, 0, 0, 9}));

    // None is left, and nothing of the one before.
    tables.routes.clear();
    network.RedetectAdapters();
    EXPECT_FALSE(network.FindDefaultGateway());
    EXPECT_TRUE(network.DefaultGateway().IsZero() && network.DefaultGatewayMac().IsZero());

    network.SetDefaultGateway(own, kMacB);
    tables.AddRoute({}, {}, old, 7);
    tables.probes.clear();
    network.RedetectAdapters();
    EXPECT_TRUE(network.FindDefaultGateway());
    EXPECT_EQ(network.DefaultGateway(), own);
    EXPECT_EQ(network.DefaultGatewayMac(), kMacB);
    EXPECT_TRUE(tables.probes.empty());
}

TEST(SimHost, PutsItselfBehindTheRealHostAndAnswersForItsLanOnly) {
    ScriptedHost real;
    SimHostTables simTables{real.tables};
    SimWrenPack simAdapters{real.adapters};
    HostNetwork host{SourcesOf(simTables, simAdapters, real.library)};
    real.library.defaultInterface = "02:56:4E:12:00:01";
    real.tables.AddRoute({}, {}, {10, 0, 0, 254}, 1);
    real.adapters.entries = {MakeAdapter(L"a", kMacA, {10, 0, 0, 1}, kMask24)};
    host.InitGlobals();
    ASSERT_TRUE(host.Adapters().size() == 2 && host.Routes()->size() == 2);
    EXPECT_EQ(host.Routes()->front().nextHop, Ipv4Address(10, 0, 0, 254));
    EXPECT_TRUE(host.FindDefaultGateway() && host.DefaultGatewayMac() == kSimGatewayMac);
    // Each adapter is opened and closed by its own library.
    std::vector<AdapterHandle> handles;
    for (const HostAdapter& adapter : host.Adapters()) {
        handles.push_back(simAdapters.OpenAdapter(adapter).value());
        EXPECT_NE(handles.back(), nullptr);
    }
    EXPECT_EQ(real.adapters.opened, std::vector<std::wstring>{L"NPF_a"});
    simAdapters.CloseAdapters(handles);
    EXPECT_EQ(real.adapters.open, 0);
    // The simulated LAN is not looked for on the real one.
    EXPECT_FALSE(host.IsIPAddrResponsive(kSimSilentHost, nullptr, {}));
    EXPECT_TRUE(real.tables.probes.empty());
    EXPECT_FALSE(host.IsIPAddrResponsive({198, 18, 1, 1}, nullptr, {}));
    EXPECT_EQ(real.tables.probes.size(), 1U);
}

} // namespace
} // namespace vnxtest
