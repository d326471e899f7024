#include <gtest/gtest.h>

#include "cli/adapter_list.h"
#include "cli/dialog_answers.h"
#include "cli/run_profile.h"
#include "settings/settings.h"
#include "settings/test_host.h"
#include "support/guest_fixture.h"

namespace vnxtest {
namespace {

constexpr Ipv4Address kMask24{255, 255, 255, 0};
const MacAddress kOtherMac({0x00, 0x1B, 0x21, 0xAA, 0xBB, 0xCC});
const MacAddress kBareMac({0x00, 0x1B, 0x21, 0xAA, 0xBB, 0xCD});

// A host with three adapters: the default one, one of another subnet, one without an address.
class DialogAnswers : public testing::Test {
protected:
    // The answer to the dialog as the first start of a run shows it.
    DialogAnswer Ask(Options options) {
        options.command = Command::Run;
        INTERFACE_INFO first, second;
        Settings(profile).LoadInterfaceSettings(first, second, host.network);
        const auto texts = [](const INTERFACE_INFO& info) {
            return InterfaceParameters{info.tapMode, info.guestIpText, info.guestMacText, info.adapterIpText,
                                       info.adapterMacText};
        };
        parameters = GuestParameters{};
        parameters.interface1 = texts(first);
        parameters.interface2 = texts(second);
        return AnswerParameters(options, host.network, profile, parameters);
    }
    std::wstring GeneratedMac(Ipv4Address ip) {
        std::array<std::uint8_t, 6> mac{};
        host.Library().BuildVantIfaceMac(mac.data(), ip.Bytes().data());
        return FormatMACAddr(MacAddress(mac));
    }
    static bool Contains(const std::wstring& text, const wchar_t* part) {
        return text.find(part) != std::wstring::npos;
    }

    TestHost host{{{{10, 1, 2, 3}, kMask24, L"eth0", {}},
                   {{10, 9, 0, 7}, kMask24, L"eth1", kOtherMac},
                   {{}, {}, L"bare", kBareMac}}};
    MemoryProfile profile;
    GuestParameters parameters;
};

TEST_F(DialogAnswers, NothingGivenIsTheProfileOrItsDefaults) {
    EXPECT_FALSE(Ask({}).refusal);
    EXPECT_EQ(parameters.interface1.guestIpText, L"10.1.2.111");
    EXPECT_EQ(parameters.interface1.adapterIpText, L"10.1.2.3");
    EXPECT_FALSE(parameters.useTwoInterfaces || parameters.store);
    EXPECT_EQ(parameters.interface2.guestIpText, L"");

    profile.texts[L"Interface1_strInterface_IPAddr"] = L"10.1.2.50";
    profile.numbers[L"Interface1_bTAPMode"] = 1;
    EXPECT_FALSE(Ask({}).refusal);
    EXPECT_EQ(parameters.interface1.guestIpText, L"10.1.2.50");
    EXPECT_TRUE(parameters.interface1.tapMode);
}

TEST_F(DialogAnswers, AGeneratedMacFollowsTheAddressAndAStoredOneStays) {
    EXPECT_FALSE(Ask({.interface1 = {.guestIp = L"10.1.2.60"}}).refusal);
    EXPECT_EQ(parameters.interface1.guestMacText, GeneratedMac({10, 1, 2, 60}));
    // The window stores the generated address too: it is still a generated one.
    profile.texts[L"Interface1_strInterface_IPAddr"] = L"10.1.2.50";
    profile.texts[L"Interface1_strInterface_MACAddr"] = GeneratedMac({10, 1, 2, 50});
    EXPECT_FALSE(Ask({.interface1 = {.guestIp = L"10.1.2.60"}}).refusal);
    EXPECT_EQ(parameters.interface1.guestMacText, GeneratedMac({10, 1, 2, 60}));

    profile.texts[L"Interface1_strInterface_MACAddr"] = L"02-00-5E-80-00-04";
    EXPECT_FALSE(Ask({.interface1 = {.guestIp = L"10.1.2.60"}}).refusal);
    EXPECT_EQ(parameters.interface1.guestMacText, L"02-00-5E-80-00-04");
}

TEST_F(DialogAnswers, AnAdapterIsNamedInThreeWays) {
    for (const wchar_t* name : {L"10.9.0.7", L"eth1", L"ETH1", L"NPF_eth1"}) {
        EXPECT_FALSE(Ask({.interface1 = {.adapter = name}}).refusal) << ToUtf8(name);
        EXPECT_EQ(parameters.interface1.adapterIpText, L"10.9.0.7");
        EXPECT_EQ(parameters.interface1.adapterMacText, L"");
        EXPECT_EQ(parameters.interface1.guestIpText, L"10.9.0.111") << "of the chosen adapter's subnet";
        EXPECT_EQ(parameters.interface1.guestMacText, GeneratedMac({10, 9, 0, 111}));
    }
    EXPECT_FALSE(Ask({.interface1 = {.adapter = L"00:1b:21:aa:bb:cc"}}).refusal);
    EXPECT_EQ(parameters.interface1.adapterIpText, L"");
    EXPECT_EQ(parameters.interface1.adapterMacText, FormatMACAddr(kOtherMac));
    // An adapter without an address is bound by its MAC, and the guest keeps its own address.
    EXPECT_FALSE(Ask({.interface1 = {.adapter = L"bare"}}).refusal);
    EXPECT_EQ(parameters.interface1.adapterMacText, FormatMACAddr(kBareMac));
    EXPECT_EQ(parameters.interface1.guestIpText, L"10.1.2.111");

    for (const wchar_t* name : {L"eth2", L"10.9.0.8", L"0.0.0.0", L"00-00-00-00-00-01", L"eth"}) {
        const DialogAnswer answer = Ask({.interface1 = {.adapter = name}});
        ASSERT_TRUE(answer.refusal) << ToUtf8(name);
        EXPECT_TRUE(Contains(*answer.refusal, L"--adapter ") && Contains(*answer.refusal, L"eth1"))
            << ToUtf8(*answer.refusal);
    }
}

TEST_F(DialogAnswers, AStoredGuestAddressOfAnotherSubnetIsReplacedWithANote) {
    profile.texts[L"Interface1_strInterface_IPAddr"] = L"10.1.2.50";
    EXPECT_TRUE(Ask({}).notes.empty());
    EXPECT_TRUE(Ask({.interface1 = {.adapter = L"eth0"}}).notes.empty());
    EXPECT_EQ(parameters.interface1.guestIpText, L"10.1.2.50");
    const DialogAnswer answer = Ask({.interface1 = {.adapter = L"eth1"}});
    ASSERT_EQ(answer.notes.size(), 1U);
    EXPECT_TRUE(Contains(answer.notes[0], L"--guest-ip"));
    EXPECT_EQ(parameters.interface1.guestIpText, L"10.9.0.111");
    // What was given is used as it is, in whatever subnet.
    EXPECT_TRUE(Ask({.interface1 = {.guestIp = L"172.16.0.1", .adapter = L"eth1"}}).notes.empty());
    EXPECT_EQ(parameters.interface1.guestIpText, L"172.16.0.1");
}

TEST_F(DialogAnswers, TwoInterfaces) {
    EXPECT_FALSE(Ask({.interface2 = {.adapter = L"eth1"}}).refusal);
    EXPECT_TRUE(parameters.useTwoInterfaces);
    EXPECT_EQ(parameters.interface2.guestIpText, L"10.9.0.222");
    EXPECT_TRUE(parameters.interface2.tapMode) << "the second interface's default";
    EXPECT_FALSE(Ask({.interface2 = {.tapMode = false}}).refusal);
    EXPECT_EQ(parameters.interface2.guestIpText, L"10.1.2.222");
    EXPECT_FALSE(parameters.interface2.tapMode);

    // After a run with one interface the second one's texts are stored empty.
    for (const wchar_t* name :
         {L"Interface_IPAddr", L"Interface_MACAddr", L"Adapter_IPAddr", L"Adapter_MACAddr"}) {
        profile.texts[std::wstring(L"Interface2_str") + name] = L"";
    }
    const DialogAnswer answer = Ask({.interface2 = {.guestIp = L"10.1.2.9"}});
    ASSERT_TRUE(answer.refusal);
    EXPECT_TRUE(Contains(*answer.refusal, L"interface 2: IP Address: You must identify which host adapter"));
    EXPECT_TRUE(Contains(*answer.refusal, L"--adapter2"));
    EXPECT_FALSE(Ask({.interface2 = {.adapter = L"eth1"}}).refusal) << "derived anew for the named adapter";
    EXPECT_EQ(parameters.interface2.guestIpText, L"10.9.0.222");
}

TEST_F(DialogAnswers, RefusalsNameTheOption) {
    DialogAnswer answer = Ask({.interface1 = {.guestMac = L"03-00-5E-80-00-04"}});
    EXPECT_TRUE(Contains(*answer.refusal, L"MAC Address: The hardware address you entered is invalid."));
    EXPECT_TRUE(Contains(*answer.refusal, L"--guest-mac"));
    profile.texts[L"Interface1_strAdapter_IPAddr"] = L"10.1.2.99";
    answer = Ask({});
    EXPECT_TRUE(Contains(*answer.refusal, L"No such host adapter exists with this IP address."));
    EXPECT_TRUE(Contains(*answer.refusal, L"--adapter") && Contains(*answer.refusal, L"eth0"));
    profile.texts[L"Interface1_strInterface_IPAddr"] = L"nonsense";
    answer = Ask({});
    EXPECT_TRUE(Contains(*answer.refusal, L"--guest-ip"));
}

TEST_F(DialogAnswers, PingNumbers) {
    PingWhoParameters who;
    who.dataSize = 7;
    who.count = 0;
    who.timeout = 10001;
    who.delay = 0xFFFFFFFF;
    DialogAnswer answer = AnswerPingWho({.target = L"host"}, {1, 2, 3, 4}, who);
    EXPECT_EQ(answer.notes.size(), 4U) << "values of the profile that the dialog would not take";
    EXPECT_EQ(who.dataSize, 32U);
    EXPECT_EQ(who.count, 3U);
    EXPECT_EQ(who.timeout, 500U);
    EXPECT_EQ(who.delay, 1000U);
    EXPECT_EQ(who.to, L"host");
    EXPECT_EQ(who.address, Ipv4Address(1, 2, 3, 4));
    EXPECT_EQ(who.fromInterface, 0);
    EXPECT_FALSE(who.store);

    who.count = 0;
    answer = AnswerPingWho({.count = 0, .dataSize = 100, .fromInterface = 2, .save = true}, {}, who);
    EXPECT_TRUE(answer.notes.empty());
    EXPECT_EQ(who.count, 0U) << "asked for on the command line";
    EXPECT_EQ(who.dataSize, 100U);
    EXPECT_EQ(who.fromInterface, 1);
    EXPECT_TRUE(who.store);
}

TEST_F(DialogAnswers, TheSimulatedLanLeavesRealAddressesOut) {
    const auto names = {L"Interface_IPAddr", L"Interface_MACAddr", L"Adapter_IPAddr", L"Adapter_MACAddr"};
    const auto store = [this](const wchar_t* prefix, const wchar_t* ip, const wchar_t* adapter) {
        profile.texts[prefix + std::wstring(L"Interface_IPAddr")] = ip;
        profile.texts[prefix + std::wstring(L"Adapter_IPAddr")] = adapter;
    };
    // eth0 stands for the simulated adapter here: it is the library's default.
    store(L"Interface1_str", L"10.9.0.50", L"10.9.0.7");
    store(L"Interface2_str", L"10.1.2.50", L"10.1.2.3");
    RunProfile simulated(profile);
    simulated.LeaveOutRealAddresses(host.network);
    EXPECT_TRUE(simulated.LeavesOut(0));
    EXPECT_FALSE(simulated.LeavesOut(1));
    for (const wchar_t* name : names) {
        EXPECT_EQ(simulated.ReadText(std::wstring(L"Interface1_str") + name, L"default"), L"default");
    }
    EXPECT_EQ(simulated.ReadText(L"Interface2_strInterface_IPAddr", L""), L"10.1.2.50");
    EXPECT_EQ(simulated.ReadNumber(L"NumPings", 3), 3U);

    // Texts that were stored empty are left out silently: they would leave the interface without an adapter.
    store(L"Interface1_str", L"", L"");
    RunProfile emptied(profile);
    emptied.LeaveOutRealAddresses(host.network);
    EXPECT_FALSE(emptied.LeavesOut(0));
    EXPECT_EQ(emptied.ReadText(L"Interface1_strAdapter_IPAddr", L"derived"), L"derived");

    // The real profile is what is written to.
    EXPECT_TRUE(simulated.WriteText(L"WhoPingName", L"x"));
    EXPECT_EQ(profile.texts[L"WhoPingName"], L"x");

    const DialogAnswer answer = Ask({.library = L"sim", .interface1 = {.adapter = L"eth1"}});
    EXPECT_TRUE(Contains(*answer.refusal, L"the simulated LAN has one adapter only"));
}

} // namespace
} // namespace vnxtest
