#include <chrono>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/output_channel.h"
#include "hostnet/scripted_host.h"
#include "wrenlib/errors.h"

namespace vnxtest {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Lines = std::vector<std::wstring>;

class HostNetworkTest : public ::testing::Test {
protected:
    ~HostNetworkTest() override { UnregisterDebugOutput(); }

    void UseTwoAdapters() {
        adapters.entries = {
            MakeAdapter(L"a", kMacA, {10, 0, 0, 1}, kMask24),
            MakeAdapter(L"b", kMacB, {10, 0, 1, 1}, kMask24, {10, 0, 1, 254}),
        };
    }

    ScriptedTables tables;
    ScriptedWrenPack adapters;
    DefaultingLibrary library;
    HostNetwork network{{tables, adapters}, library};
    TraceCatcher trace;
};

TEST_F(HostNetworkTest, TracesEveryFailureInOrderAndSurvivesAll) {
    tables.parametersCode = 50;
    tables.routesCode = 5;
    tables.addressesCode = 13;
    adapters.sizeCode = 2;
    network.InitGlobals();
    EXPECT_EQ(trace.Take(),
              (Lines{L"** InitGlobals: GetNetworkParams() failed; rc=50, " + FormatLastError(50) + L"\n",
                     L"** InitGlobals: GetIpForwardTable() failed; rc=5, " + FormatLastError(5) + L"\n",
                     L"** InitGlobals: GetIpAddrTable() failed; rc=13, " + FormatLastError(13) + L"\n",
                     L"** InitFPAdaptersList: WrenPackGetAdaptersList(NULL,0) failed!; rc=2: " +
                         FormatLastError(2) + L"\n",
                     L"** InitFPAdaptersList: (WWPCUtil was likely not found)\n",
                     L"** InitGlobals: InitFPAdaptersList() failed!\n",
                     L"** InitGlobals: WARNING: default host adapter undefined!\n"}));
    EXPECT_FALSE(network.Parameters());
    EXPECT_FALSE(network.Routes());
    EXPECT_FALSE(network.Addresses());
    EXPECT_TRUE(network.Adapters().empty());
    EXPECT_EQ(network.DefaultAdapter(), nullptr);
    EXPECT_FALSE(network.IpForwardingEnabled());
    EXPECT_EQ(network.GetInterfaceIPString(1), L"");
    EXPECT_FALSE(network.FindDefaultGateway());
    EXPECT_THAT(tables.probes, IsEmpty());
}

TEST_F(HostNetworkTest, DoesNotBelieveASizeQueryThatSucceeds) {
    UseTwoAdapters();
    adapters.sizeSucceeds = true;
    adapters.sizeCode = 2;
    EXPECT_FALSE(network.InitFPAdaptersList());
    EXPECT_EQ(trace.Take(),
              (Lines{L"** InitFPAdaptersList: WrenPackGetAdaptersList(NULL,0) succeeded?!; rc=2: " +
                         FormatLastError(2) + L"\n",
                     L"** InitFPAdaptersList: (WWPCUtil was likely not found)\n"}));
}

TEST_F(HostNetworkTest, TracesAListThatCannotBeHeldOrIsRefused) {
    UseTwoAdapters();
    adapters.fillCode = 31;
    EXPECT_FALSE(network.InitFPAdaptersList());
    EXPECT_EQ(trace.Take(),
              (Lines{L"** InitFPAdaptersList: WrenPackGetAdaptersList(!NULL,!0) failed; rc=31: " +
                     FormatLastError(31) + L"\n"}));
    adapters.sizeAnswer = 4294967295;
    EXPECT_FALSE(network.InitFPAdaptersList());
    EXPECT_EQ(
        trace.Take(),
        (Lines{Sprintf(L"** InitFPAdaptersList: new ADAPTER_INFO_LIST_ENTRY [3121343] failed; rc=%d: %s\n",
                       kErrorNotEnoughMemory, FormatLastError(kErrorNotEnoughMemory))}));
    // A later attempt may succeed, and the list is then built only once.
    adapters.sizeAnswer = 0;
    adapters.fillCode = 0;
    EXPECT_TRUE(network.InitFPAdaptersList());
    const int calls = adapters.calls;
    EXPECT_TRUE(network.InitFPAdaptersList());
    EXPECT_EQ(adapters.calls, calls);
}

TEST_F(HostNetworkTest, TakesTheAdapterThatTheLibraryNamesAndProbesItsGateway) {
    UseTwoAdapters();
    library.defaultInterface = "02-00-00-00-00-0B";
    network.InitGlobals();
    ASSERT_NE(network.DefaultAdapter(), nullptr);
    EXPECT_EQ(std::memcmp(network.DefaultAdapter(), &network.Adapters()[1], sizeof(ADAPTER_INFO_LIST_ENTRY)),
              0);
    EXPECT_EQ(network.DefaultAdapterIpText(), L"10.0.1.1");
    EXPECT_EQ(network.DefaultInterfaceMacText(), L"02-00-00-00-00-0B");
    ASSERT_EQ(tables.probes.size(), 1U);
    EXPECT_EQ(tables.probes[0].first, Ipv4Address(10, 0, 1, 254));
    EXPECT_EQ(tables.probes[0].second, Ipv4Address(10, 0, 1, 1)) << "from the adapter's own address";
    EXPECT_EQ(tables.probeRoom, 8U);
    EXPECT_EQ(trace.Take(), (Lines{L"** InitGlobals: WARNING: default adapter gateway unresponsive!\n"}));
}

TEST_F(HostNetworkTest, SaysWhatTheDefaultAdapterLacks) {
    UseTwoAdapters();
    library.defaultInterface = "02-00-00-00-00-0A"; // has no gateway
    network.InitGlobals();
    EXPECT_EQ(trace.Take(), (Lines{L"** InitGlobals: WARNING: default adapter gateway undefined!\n"}));
    EXPECT_THAT(tables.probes, IsEmpty());

    library.defaultInterface = "02-00-00-00-00-0C"; // nobody's
    EXPECT_TRUE(network.RedetectAdapters());
    EXPECT_EQ(network.DefaultAdapter(), nullptr);
    EXPECT_EQ(network.DefaultAdapterIpText(), L"0.0.0.0");
}

TEST_F(HostNetworkTest, KeepsQuietWhenTheGatewayAnswers) {
    UseTwoAdapters();
    library.defaultInterface = "02-00-00-00-00-0B";
    tables.answers[Ipv4Address(10, 0, 1, 254)] = {2, 0, 0, 0, 0, 1};
    network.InitGlobals();
    EXPECT_THAT(trace.Take(), IsEmpty());
}

TEST_F(HostNetworkTest, RedetectsAdaptersThatCameAndWent) {
    UseTwoAdapters();
    tables.AddAddress({10, 0, 0, 1}, kMask24, 1);
    library.defaultInterface = "02-00-00-00-00-0A";
    network.InitGlobals();
    adapters.entries = {MakeAdapter(L"c", kMacB, {10, 9, 0, 1}, {255, 255, 0, 0})};
    tables.addresses.clear();
    tables.AddAddress({10, 9, 0, 1}, {255, 255, 0, 0}, 3);
    EXPECT_TRUE(network.RedetectAdapters());
    EXPECT_EQ(network.Adapters().size(), 1U);
    EXPECT_EQ(network.DefaultAdapter(), nullptr);
    EXPECT_FALSE(network.IsAdapterMAC(kMacA));
    EXPECT_FALSE(network.IsAdapterIP({10, 0, 0, 1}));
    EXPECT_TRUE(network.IsAdapterIP({10, 9, 0, 1}));
    EXPECT_EQ(network.GetInterfaceIPString(1), L"");
    EXPECT_EQ(network.GetInterfaceIPString(3), L"10.9.0.1");
}

TEST_F(HostNetworkTest, ResponsiveMeansAnAnswerOfExactlySixBytes) {
    MacAddress mac = kMacB;
    EXPECT_FALSE(network.IsIPAddrResponsive({10, 0, 0, 9}, &mac, {}));
    EXPECT_TRUE(mac.IsZero());
    for (const std::size_t length : {0U, 4U, 8U}) {
        tables.answers[Ipv4Address(10, 0, 0, 9)].assign(length, 1);
        mac = kMacB;
        EXPECT_FALSE(network.IsIPAddrResponsive({10, 0, 0, 9}, &mac, {}));
        EXPECT_TRUE(mac.IsZero());
    }
    tables.answers[Ipv4Address(10, 0, 0, 9)] = {2, 0, 0, 0, 0, 0x0A};
    EXPECT_TRUE(network.IsIPAddrResponsive({10, 0, 0, 9}, &mac, {}));
    EXPECT_EQ(mac, kMacA);
    EXPECT_TRUE(network.IsIPAddrResponsive({10, 0, 0, 9}, nullptr, {}));
}

TEST_F(HostNetworkTest, TheLastDefaultRouteWinsWhateverItsMetric) {
    tables.AddRoute({}, {}, {10, 0, 0, 253}, 1, 1);
    tables.AddRoute({}, {}, {10, 0, 1, 254}, 2, 900);
    tables.AddRoute({10, 0, 0, 0}, kMask24, {}, 1);
    tables.AddRoute({}, {}, {}, 0, 4278198272, kRouteTypeInvalid); // "unreachable default"
    tables.answers[Ipv4Address(10, 0, 1, 254)] = {2, 0, 0, 0, 0, 0x0A};
    network.InitGlobals();
    EXPECT_TRUE(network.FindDefaultGateway());
    EXPECT_EQ(network.DefaultGatewayText(), L"10.0.1.254");
    EXPECT_EQ(network.DefaultGatewayMac(), kMacA);
    EXPECT_EQ(network.DefaultGatewayMacText(), L"02-00-00-00-00-0A");
    ASSERT_EQ(tables.probes.size(), 1U);
    EXPECT_TRUE(tables.probes[0].second.IsZero()) << "the system chooses the source";
}

TEST_F(HostNetworkTest, AGatewayThatFallsSilentLosesItsMac) {
    tables.AddRoute({}, {}, {10, 0, 0, 254}, 1);
    tables.answers[Ipv4Address(10, 0, 0, 254)] = {2, 0, 0, 0, 0, 0x0A};
    network.InitGlobals();
    network.FindDefaultGateway();
    ASSERT_FALSE(network.DefaultGatewayMac().IsZero());
    tables.answers.clear();
    EXPECT_TRUE(network.FindDefaultGateway());
    EXPECT_TRUE(network.DefaultGatewayMac().IsZero());
    EXPECT_EQ(network.DefaultGatewayMacText(), L"");
}

TEST_F(HostNetworkTest, LooksUpTheFirstRowOfSeveral) {
    adapters.entries = {MakeAdapter(L"bare", kMacA), MakeAdapter(L"a", kMacA, {10, 0, 0, 1}, kMask24),
                        MakeAdapter(L"b", kMacB, {10, 0, 0, 1}, {255, 0, 0, 0})};
    tables.AddAddress({10, 0, 0, 1}, {255, 255, 0, 0}, 7);
    tables.AddAddress({10, 0, 0, 2}, {255, 255, 255, 128}, 7);
    tables.AddAddress({10, 0, 0, 2}, kMask24, 8);
    network.InitGlobals();
    EXPECT_EQ(network.GetInterfaceIPString(7), L"10.0.0.1");
    EXPECT_EQ(network.GetInterfaceIPString(9), L"");
    EXPECT_EQ(network.GetAdapterMaskByIP({10, 0, 0, 1}), kMask24);
    EXPECT_TRUE(network.GetAdapterMaskByIP({10, 0, 0, 2}).IsZero());
    EXPECT_EQ(network.GetHostMaskByIP({10, 0, 0, 1}), kMask24) << "the adapter's, not the table's";
    EXPECT_EQ(network.GetHostMaskByIP({10, 0, 0, 2}), Ipv4Address(255, 255, 255, 128))
        << "a secondary address";
    EXPECT_TRUE(network.GetHostMaskByIP({10, 0, 0, 3}).IsZero());
    EXPECT_FALSE(network.IsAdapterIP({})) << "an adapter without an address has none";
}

TEST_F(HostNetworkTest, LookUpsCostTheSameInLargeTables) {
    // One by one through the table this would be ten thousand million steps.
    constexpr std::uint32_t kRows = 100000;
    for (std::uint32_t i = 0; i < kRows; ++i) {
        tables.AddAddress(Ipv4Address::FromHost(0x0A000000 + i), kMask24, i + 1);
    }
    network.InitGlobals();
    const auto begin = std::chrono::steady_clock::now();
    for (std::uint32_t i = 0; i < kRows; ++i) {
        ASSERT_EQ(network.GetInterfaceIPString(i + 1), FormatIPAddr(Ipv4Address::FromHost(0x0A000000 + i)));
        ASSERT_EQ(network.GetHostMaskByIP(Ipv4Address::FromHost(0x0A000000 + i)), kMask24);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
}

} // namespace
} // namespace vnxtest
