#include <gtest/gtest.h>

#include "settings/settings.h"
#include "settings/temporary_profile.h"
#include "settings/test_host.h"

namespace vnxtest {
namespace {

constexpr Ipv4Address kMask24{255, 255, 255, 0};

const TestAdapter kAdapter{{10, 1, 2, 3}, kMask24};

std::wstring GeneratedMac(TestHost& host, Ipv4Address ip) {
    std::array<std::uint8_t, 6> mac{};
    host.Library().BuildVantIfaceMac(mac.data(), ip.Bytes().data());
    return FormatMACAddr(MacAddress(mac));
}

class SettingsTest : public testing::Test {
protected:
    // Loads as the first start of a run does.
    void Load(TestHost& host) { Settings(*profile).LoadInterfaceSettings(first, second, host.network); }

    TemporaryProfile place;
    std::unique_ptr<Profile> profile = OpenProfile();
    INTERFACE_INFO first, second;
};

TEST_F(SettingsTest, AnEmptyProfileDerivesFromTheDefaultAdapter) {
    TestHost host({kAdapter});
    Load(host);
    EXPECT_FALSE(first.tapMode);
    EXPECT_TRUE(second.tapMode);
    EXPECT_EQ(first.adapterIpText, L"10.1.2.3");
    EXPECT_EQ(second.adapterIpText, L"10.1.2.3");
    EXPECT_EQ(first.guestIpText, L"10.1.2.111");
    EXPECT_EQ(second.guestIpText, L"10.1.2.222");
    EXPECT_EQ(first.guestIp, Ipv4Address(10, 1, 2, 111));
    EXPECT_EQ(first.adapterMacText, L"");
    EXPECT_EQ(second.adapterMacText, L"");
    EXPECT_EQ(first.guestMacText, GeneratedMac(host, {10, 1, 2, 111}));
    EXPECT_EQ(second.guestMacText, GeneratedMac(host, {10, 1, 2, 222}));
    EXPECT_EQ(host.TakeAssertions(), 0);
}

TEST_F(SettingsTest, TheHostNumbersFillTheHostPart) {
    TestHost host({{{172, 16, 5, 9}, {255, 255, 0, 0}}});
    Load(host);
    EXPECT_EQ(first.guestIpText, L"172.16.0.111");
    EXPECT_EQ(second.guestIpText, L"172.16.0.222");

    INTERFACE_INFO third, fourth;
    TestHost narrow({{{10, 0, 0, 201}, {255, 255, 255, 240}}});
    Settings(*profile).LoadInterfaceSettings(third, fourth, narrow.network);
    EXPECT_EQ(third.guestIpText, L"10.0.0.207"); // 192 | (111 & 15)
    EXPECT_EQ(fourth.guestIpText, L"10.0.0.206");
}

TEST_F(SettingsTest, WithoutADefaultAdapterTheTextsAreFixed) {
    TestHost host({});
    Load(host);
    EXPECT_EQ(first.adapterIpText, L"192.168.0.1");
    EXPECT_EQ(second.adapterIpText, L"192.168.0.1");
    EXPECT_EQ(first.guestIpText, L"192.168.0.111");
    EXPECT_EQ(second.guestIpText, L"192.168.0.222");
    EXPECT_EQ(first.guestMacText, GeneratedMac(host, {192, 168, 0, 111}));
    EXPECT_EQ(host.TakeAssertions(), 0);
}

TEST_F(SettingsTest, WhatIsStoredWins) {
    TestHost host({kAdapter});
    profile->WriteNumber(L"Interface1_bTAPMode", 77);
    profile->WriteNumber(L"Interface2_bTAPMode", 0);
    profile->WriteText(L"Interface1_strInterface_IPAddr", L"10.9.9.9");
    profile->WriteText(L"Interface2_strInterface_MACAddr", L"02-00-5E-80-00-04");
    profile->WriteText(L"Interface2_strAdapter_MACAddr", L"02-00-5E-80-00-05");
    Load(host);
    EXPECT_TRUE(first.tapMode) << "any number but 0";
    EXPECT_FALSE(second.tapMode);
    EXPECT_EQ(first.guestIp, Ipv4Address(10, 9, 9, 9));
    EXPECT_EQ(first.guestMacText, GeneratedMac(host, {10, 9, 9, 9}))
        << "the default follows the stored address";
    EXPECT_EQ(second.guestMacText, L"02-00-5E-80-00-04");
    EXPECT_EQ(second.adapterMacText, L"02-00-5E-80-00-05");
    EXPECT_TRUE(second.adapterMac.IsZero()) << "MAC texts are converted after the dialog only";
}

// A run with one interface stores the four texts of the second one empty.
TEST_F(SettingsTest, StoredEmptyTextsWinOverTheDefaults) {
    TestHost host({kAdapter});
    Load(host);
    second.guestIpText = second.guestMacText = second.adapterIpText = second.adapterMacText = L"";
    Settings(*profile).StoreInterfaceSettings(first, second);
    INTERFACE_INFO again1, again2;
    Settings(*profile).LoadInterfaceSettings(again1, again2, host.network);
    EXPECT_EQ(again1.guestIpText, L"10.1.2.111");
    EXPECT_EQ(again2.guestIpText, L"");
    EXPECT_EQ(again2.adapterIpText, L"");
    EXPECT_EQ(again2.guestMacText, L"") << "stored empty as well";
    EXPECT_EQ(again2.guestIp, Ipv4Address(10, 1, 2, 222)) << "what the record then holds";
    EXPECT_EQ(again2.guestMac, ParseMACAddress(GeneratedMac(host, {10, 1, 2, 222})));
    EXPECT_EQ(host.TakeAssertions(), 0);
}

TEST_F(SettingsTest, InterfacesAreLoadedOncePerRun) {
    TestHost host({kAdapter});
    Settings settings(*profile);
    settings.LoadInterfaceSettings(first, second, host.network);
    first.guestIpText = L"10.1.2.5";
    profile->WriteText(L"Interface1_strInterface_IPAddr", L"10.1.2.6");
    settings.LoadInterfaceSettings(first, second, host.network);
    EXPECT_EQ(first.guestIpText, L"10.1.2.5");
}

TEST_F(SettingsTest, AnOpenInterfaceIsNotReset) {
    TestHost host({kAdapter});
    first.handle = 5;
    first.broadcastText = L"kept";
    second.broadcastText = L"gone";
    Load(host);
    EXPECT_EQ(host.TakeAssertions(), 1);
    EXPECT_EQ(first.broadcastText, L"kept");
    EXPECT_EQ(second.broadcastText, L"");
    EXPECT_EQ(first.guestIpText, L"10.1.2.111") << "loading goes on";
}

TEST_F(SettingsTest, TextsThatDoNotParseAreAssertionsAndTheRestIsConverted) {
    TestHost host({kAdapter});
    profile->WriteText(L"Interface1_strInterface_IPAddr", L"10.1.2.300");
    profile->WriteText(L"Interface2_strAdapter_IPAddr", L"somewhere");
    Load(host);
    EXPECT_EQ(host.TakeAssertions(), 2);
    EXPECT_EQ(first.guestIp, Ipv4Address(10, 1, 2, 111)) << "the derived address stays";
    EXPECT_EQ(first.adapterIp, Ipv4Address(10, 1, 2, 3));

    first.guestIpText = L"10.1.2.8";
    first.guestMacText = L"nonsense";
    first.adapterMacText = L"02-00-5E-80-00-05";
    second.guestMacText = L"02:00:5e:80:00:06";
    second.adapterIpText = L"";
    const Ipv4Address before = second.adapterIp;
    ApplyInterfaceSettings(first, second);
    EXPECT_EQ(host.TakeAssertions(), 1);
    EXPECT_EQ(first.guestIp, Ipv4Address(10, 1, 2, 8));
    EXPECT_EQ(first.adapterMac, MacAddress({2, 0, 0x5E, 0x80, 0, 5}));
    EXPECT_EQ(second.guestMac, MacAddress({2, 0, 0x5E, 0x80, 0, 6}));
    EXPECT_EQ(second.adapterIp, before) << "an empty text leaves its field";
}

// The profile as a list of what is done to it.
class RecordingProfile final : public Profile {
public:
    std::uint32_t ReadNumber(std::wstring_view name, std::uint32_t defaultValue) override {
        calls.push_back(L"read " + std::wstring(name));
        return defaultValue;
    }
    std::wstring ReadText(std::wstring_view name, std::wstring_view defaultValue) override {
        calls.push_back(L"read " + std::wstring(name));
        return std::wstring(defaultValue);
    }
    bool WriteNumber(std::wstring_view name, std::uint32_t value) override {
        calls.push_back(std::wstring(name) + L"=" + std::to_wstring(value));
        return true;
    }
    bool WriteText(std::wstring_view name, std::wstring_view value) override {
        calls.push_back(std::wstring(name) + L"=" + std::wstring(value));
        return true;
    }
    std::wstring Location() const override { return {}; }
    std::wstring LastProblem() const override { return {}; }
    std::vector<std::wstring> calls;
};

TEST_F(SettingsTest, TheOrdersOfReadingAndWriting) {
    TestHost host({kAdapter});
    RecordingProfile recording;
    Settings settings(recording);
    settings.LoadInterfaceSettings(first, second, host.network);
    EXPECT_EQ(recording.calls,
              (std::vector<std::wstring>{
                  L"read Interface1_bTAPMode", L"read Interface2_bTAPMode",
                  L"read Interface1_strAdapter_IPAddr", L"read Interface2_strAdapter_IPAddr",
                  L"read Interface1_strInterface_IPAddr", L"read Interface2_strInterface_IPAddr",
                  L"read Interface1_strAdapter_MACAddr", L"read Interface2_strAdapter_MACAddr",
                  L"read Interface1_strInterface_MACAddr", L"read Interface2_strInterface_MACAddr"}));
    recording.calls.clear();
    first.guestMacText = L"M1";
    second.guestMacText = L"M2";
    second.adapterMacText = L"A2";
    settings.StoreInterfaceSettings(first, second);
    EXPECT_EQ(recording.calls,
              (std::vector<std::wstring>{
                  L"Interface1_bTAPMode=0", L"Interface1_strInterface_IPAddr=10.1.2.111",
                  L"Interface1_strAdapter_IPAddr=10.1.2.3", L"Interface1_strInterface_MACAddr=M1",
                  L"Interface1_strAdapter_MACAddr=", L"Interface2_bTAPMode=1",
                  L"Interface2_strInterface_IPAddr=10.1.2.222", L"Interface2_strAdapter_IPAddr=10.1.2.3",
                  L"Interface2_strInterface_MACAddr=M2", L"Interface2_strAdapter_MACAddr=A2"}));
    recording.calls.clear();
    PingSettings ping;
    settings.LoadPingSettings(ping);
    ping.whoPingIpAddr = Ipv4Address(1, 2, 3, 4);
    ping.whoPingName = L"host";
    settings.StorePingSettings(ping);
    settings.LoadPingSettings(ping);
    EXPECT_EQ(recording.calls,
              (std::vector<std::wstring>{L"read WhoPingIPAddr", L"read WhoPingName", L"read PingDataSize",
                                         L"read NumPings", L"read PingTimeout", L"read PingDelay",
                                         L"WhoPingIPAddr=67305985", L"WhoPingName=host", L"PingDataSize=32",
                                         L"NumPings=3", L"PingTimeout=500", L"PingDelay=1000"}))
        << "read once per run; the first octet in the lowest byte";
    recording.calls.clear();
    settings.StoreDebugSettings({.debugMode = true, .debugFlags = 0xC000C0C1});
    settings.StoreSocketNotifyMode({.socketNotifyMode = true});
    EXPECT_EQ(recording.calls,
              (std::vector<std::wstring>{L"DebugMode=1", L"DebugFlags=3221274817", L"SocketNotifyMode=1"}));
}

TEST_F(SettingsTest, FailedWritesAreOneAssertionEachAndNothingElse) {
    TestHost host({kAdapter});
    Load(host);
    place.MakeUnwritable();
    Settings settings(*profile);
    settings.StoreInterfaceSettings(first, second);
    EXPECT_EQ(host.TakeAssertions(), 10);
    settings.StoreDebugSettings({});
    EXPECT_EQ(host.TakeAssertions(), 2);
    settings.StoreSocketNotifyMode({});
    EXPECT_EQ(host.TakeAssertions(), 1);
    settings.StorePingSettings({});
    EXPECT_EQ(host.TakeAssertions(), 6);
    EXPECT_EQ(first.guestIpText, L"10.1.2.111");
    EXPECT_NE(profile->LastProblem(), L"");
}

TEST_F(SettingsTest, DebugSettings) {
    RunSettings run{.debugMode = true, .socketNotifyMode = true, .debugFlags = 1};
    Settings(*profile).ReadDebugSettings(run);
    EXPECT_FALSE(run.debugMode);
    EXPECT_FALSE(run.socketNotifyMode);
    EXPECT_EQ(run.debugFlags, 0x80008080U);
    profile->WriteNumber(L"DebugFlags", 0);
    profile->WriteNumber(L"DebugMode", 2);
    profile->WriteNumber(L"SocketNotifyMode", 1);
    Settings(*profile).ReadDebugSettings(run);
    EXPECT_TRUE(run.debugMode);
    EXPECT_TRUE(run.socketNotifyMode);
    EXPECT_EQ(run.debugFlags, 0U) << "a stored 0 is no missing value";
}

TEST_F(SettingsTest, PingSettings) {
    vnxtest::PingSettings ping;
    Settings(*profile).LoadPingSettings(ping);
    EXPECT_EQ(ping.whoPingIpAddr, kDefaultPingTarget);
    EXPECT_EQ(ping.whoPingName, FormatIPAddr(kDefaultPingTarget));
    EXPECT_EQ(ping.dataSize, 32U);
    EXPECT_EQ(ping.numPings, 3U);
    EXPECT_EQ(ping.timeout, 500U);
    EXPECT_EQ(ping.delay, 1000U);

    ping = {Ipv4Address(10, 0, 0, 9), L"", 100, 0, 200, 300};
    Settings(*profile).StorePingSettings(ping);
    vnxtest::PingSettings again;
    Settings(*profile).LoadPingSettings(again);
    EXPECT_EQ(again.whoPingIpAddr, Ipv4Address(10, 0, 0, 9));
    EXPECT_EQ(again.whoPingName, L"10.0.0.9");
    EXPECT_EQ(again.dataSize, 100U);
    EXPECT_EQ(again.numPings, 0U) << "possible in the profile only: until stopped";
    EXPECT_EQ(again.timeout, 200U);
    EXPECT_EQ(again.delay, 300U);

    profile->WriteNumber(L"WhoPingIPAddr", 0);
    profile->WriteText(L"WhoPingName", L"router");
    vnxtest::PingSettings third;
    Settings(*profile).LoadPingSettings(third);
    EXPECT_EQ(third.whoPingIpAddr, kDefaultPingTarget) << "0 means that none is stored";
    EXPECT_EQ(third.whoPingName, L"router");
}

} // namespace
} // namespace vnxtest
