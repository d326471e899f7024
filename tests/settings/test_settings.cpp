#include <gtest/gtest.h>

#include "settings/settings.h"
#include "settings/test_host.h"
#include "support/memory_profile.h"

namespace vnxtest {
namespace {

class SettingsTest : public testing::Test {
protected:
    // Loads as the first start of a run does.
    void Load(TestHost& from) { Settings(profile).LoadInterfaceSettings(first, second, from.Sources()); }

    TestHost host{{{{10, 1, 2, 3}, kMask24}}};
    MemoryProfile profile;
    INTERFACE_INFO first, second;
};

TEST_F(SettingsTest, AnEmptyProfileDerivesFromTheDefaultAdapter) {
    const struct {
        std::vector<TestAdapter> adapters;
        const wchar_t *adapterIp, *guestIp1, *guestIp2;
    } cases[] = {
        {{{{10, 1, 2, 3}, kMask24}}, L"10.1.2.3", L"10.1.2.111", L"10.1.2.222"},
        {{{{172, 16, 5, 9}, {255, 255, 0, 0}}}, L"172.16.5.9", L"172.16.0.111", L"172.16.0.222"},
        {{{{10, 0, 0, 201}, {255, 255, 255, 240}}}, L"10.0.0.201", L"10.0.0.207", L"10.0.0.206"}, // 111 & 15
        {{}, L"192.168.0.1", L"192.168.0.111", L"192.168.0.222"}, // no default adapter: fixed texts
    };
    for (const auto& [adapters, adapterIp, guestIp1, guestIp2] : cases) {
        TestHost other(adapters);
        Load(other);
        EXPECT_TRUE(!first.asked.tapMode && second.asked.tapMode);
        EXPECT_TRUE(first.asked.guestIpText == guestIp1 && second.asked.guestIpText == guestIp2);
        for (const INTERFACE_INFO* info : {&first, &second}) {
            EXPECT_EQ(FormatIPAddr(info->addresses.guestIp), info->asked.guestIpText);
            EXPECT_TRUE(info->asked.adapterIpText == adapterIp && info->asked.adapterMacText.empty());
            EXPECT_EQ(info->asked.guestMacText, GeneratedMac(other, info->addresses.guestIp));
        }
        EXPECT_EQ(other.TakeAssertions(), 0);
    }
}

// Empty texts too: a run with one interface stores those of the second one so.
TEST_F(SettingsTest, WhatIsStoredWins) {
    profile.numbers = {{L"Interface1_bTAPMode", 77}, {L"Interface2_bTAPMode", 0}};
    profile.texts = {{L"Interface1_strInterface_IPAddr", L"10.9.9.9"},
                     {L"Interface1_strAdapter_MACAddr", L"02-00-5E-80-00-05"},
                     {L"Interface2_strInterface_IPAddr", L""},
                     {L"Interface2_strInterface_MACAddr", L""},
                     {L"Interface2_strAdapter_IPAddr", L""}};
    Load(host);
    EXPECT_TRUE(first.asked.tapMode && !second.asked.tapMode) << "any number but 0";
    EXPECT_EQ(first.addresses.guestIp, Ipv4Address(10, 9, 9, 9));
    EXPECT_EQ(first.asked.guestMacText, GeneratedMac(host, {10, 9, 9, 9})) << "follows the stored address";
    EXPECT_TRUE(first.asked.adapterMacText == L"02-00-5E-80-00-05" && first.addresses.adapterMac.IsZero())
        << "MAC texts are converted after the dialog only";
    EXPECT_EQ(second.asked.guestIpText + second.asked.adapterIpText + second.asked.guestMacText, L"");
    EXPECT_EQ(second.addresses.guestIp, Ipv4Address(10, 1, 2, 222)) << "what the record then holds";
    EXPECT_EQ(host.TakeAssertions(), 0);
}

TEST_F(SettingsTest, TextsThatDoNotParseAreAssertionsAndTheRestIsConverted) {
    profile.texts = {{L"Interface1_strInterface_IPAddr", L"10.1.2.300"},
                     {L"Interface2_strAdapter_IPAddr", L"somewhere"}};
    first.open.Open(host.library, "10.1.2.3", VNETX_OPEN_READ_WRITE);
    first.open.Publish();
    first.addresses.broadcastText = second.addresses.broadcastText = L"kept while the interface is open";
    Load(host);
    EXPECT_EQ(host.TakeAssertions(), 3) << "the open interface and two texts";
    EXPECT_NE(first.addresses.broadcastText, L"");
    EXPECT_EQ(second.addresses.broadcastText, L"");
    EXPECT_EQ(first.addresses.guestIp, Ipv4Address(10, 1, 2, 111)) << "the derived address stays";

    first.asked.guestIpText = L"10.1.2.8";
    first.asked.guestMacText = L"nonsense";
    first.asked.adapterMacText = L"02-00-5E-80-00-05";
    second.asked.guestMacText = L"02:00:5e:80:00:06";
    second.asked.adapterIpText = L"";
    second.addresses.adapterIp = {10, 1, 2, 4};
    ApplyInterfaceSettings(first, second);
    EXPECT_EQ(host.TakeAssertions(), 1);
    EXPECT_EQ(first.addresses.guestIp, Ipv4Address(10, 1, 2, 8));
    EXPECT_EQ(first.addresses.adapterMac, MacAddress({2, 0, 0x5E, 0x80, 0, 5}));
    EXPECT_EQ(second.addresses.guestMac, MacAddress({2, 0, 0x5E, 0x80, 0, 6}));
    EXPECT_EQ(second.addresses.adapterIp, Ipv4Address(10, 1, 2, 4)) << "an empty text leaves its field";
}

TEST_F(SettingsTest, WhatIsStoredComesBackAndIsReadOncePerRun) {
    Settings settings(profile);
    settings.LoadInterfaceSettings(first, second, host.Sources());
    first.asked.guestMacText = L"M1";
    second.asked.adapterMacText = L"M2";
    settings.LoadInterfaceSettings(first, second, host.Sources());
    settings.StoreInterfaceSettings(first.asked, second.asked);
    PingPlan ping;
    settings.LoadPingSettings(ping);
    std::tie(ping.dataSize, ping.numPings, ping.timeout, ping.delay) = std::tuple(1U, 2U, 3U, 4U);
    settings.LoadPingSettings(ping);
    settings.StorePingSettings(ping);
    Load(host);
    EXPECT_EQ(first.asked.guestMacText + second.asked.guestMacText + second.asked.adapterMacText,
              L"M1" + GeneratedMac(host, {10, 1, 2, 222}) + L"M2");
    PingPlan again;
    Settings(profile).LoadPingSettings(again);
    EXPECT_EQ(std::tie(again.dataSize, again.numPings, again.timeout, again.delay),
              std::tuple(1U, 2U, 3U, 4U));
    // A failed write is an assertion, and the next value is written all the same.
    profile.refusing = true;
    settings.StoreInterfaceSettings(first.asked, second.asked);
    settings.StorePingSettings({});
    EXPECT_EQ(host.TakeAssertions(), 10 + 6);
}

TEST_F(SettingsTest, DebugAndPingSettings) {
    RunSettings run{.debugMode = true, .socketNotifyMode = true, .debugFlags = 1};
    Settings(profile).ReadDebugSettings(run);
    EXPECT_FALSE(run.debugMode || run.socketNotifyMode || run.debugFlags != 0x80008080U);
    profile.numbers = {{L"DebugFlags", 0}, {L"DebugMode", 2}, {L"SocketNotifyMode", 1}};
    Settings(profile).ReadDebugSettings(run);
    EXPECT_TRUE(run.debugMode && run.socketNotifyMode && run.debugFlags == 0) << "0 is no missing value";

    const auto expectTarget = [this](Ipv4Address address, const std::wstring& name) {
        PingPlan ping;
        Settings(profile).LoadPingSettings(ping);
        EXPECT_EQ(ping.target, address);
        EXPECT_EQ(ping.targetName, name);
    };
    expectTarget(kDefaultPingTarget, FormatIPAddr(kDefaultPingTarget));
    profile.numbers[L"WhoPingIPAddr"] = Ipv4Address(10, 0, 0, 9).Memory();
    profile.texts[L"WhoPingName"] = L"";
    expectTarget({10, 0, 0, 9}, L"10.0.0.9");
    profile.numbers[L"WhoPingIPAddr"] = 0; // none is stored
    profile.texts[L"WhoPingName"] = L"router";
    expectTarget(kDefaultPingTarget, L"router");
}

} // namespace
} // namespace vnxtest
