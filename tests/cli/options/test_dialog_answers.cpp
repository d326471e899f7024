#include <gtest/gtest.h>

#include "cli/options/dialog_answers.h"
#include "cli/report/adapter_list.h"
#include "settings/settings.h"
#include "settings/test_host.h"
#include "support/guest_fixture.h"

namespace vnxtest {
namespace {

constexpr Ipv4Address kMask24{255, 255, 255, 0};
const MacAddress kOtherMac({0x00, 0x1B, 0x21, 0xAA, 0xBB, 0xCC});
const MacAddress kBareMac({0x00, 0x1B, 0x21, 0xAA, 0xBB, 0xCD});

// A host with three adapters: the default one, one of another subnet, one
// without an address.
class DialogAnswers : public testing::Test {
protected:
    // The answer to the dialog as the first start of a run shows it.
    DialogAnswer Answer(Options options) {
        options.command = Command::Run;
        INTERFACE_INFO interface1, interface2;
        Settings(profile).LoadInterfaceSettings(interface1, interface2, host.Sources());
        parameters = GuestParameters{interface1.asked, interface2.asked};
        return AnswerParameters(options, {host.network, host.library, profile}, parameters);
    }
    // The guest's address of the first interface that an accepted answer leads
    // to.
    std::wstring Accept(const InterfaceOptions& given, std::size_t notes = 0) {
        const DialogAnswer answer = Answer({.interface1 = given});
        EXPECT_FALSE(answer.refusal) << ToUtf8(answer.refusal.value_or(L""));
        EXPECT_EQ(answer.notes.size(), notes);
        return parameters.interface1.guestIpText;
    }
    void ExpectRefused(const Options& options, std::initializer_list<const wchar_t*> parts) {
        const std::wstring text = Answer(options).refusal.value_or(L"(accepted)");
        for (const wchar_t* part : parts) {
            EXPECT_NE(text.find(part), std::wstring::npos) << ToUtf8(part) << " in " << ToUtf8(text);
        }
    }
    void Store(const std::wstring& interface, const wchar_t* guestIp, const wchar_t* guestMac,
               const wchar_t* adapterIp) {
        profile.texts[interface + L"Interface_IPAddr"] = guestIp;
        profile.texts[interface + L"Interface_MACAddr"] = guestMac;
        profile.texts[interface + L"Adapter_IPAddr"] = adapterIp;
        profile.texts[interface + L"Adapter_MACAddr"] = L"";
    }

    TestHost host{{{{10, 1, 2, 3}, kMask24, L"eth0", {}},
                   {{10, 9, 0, 7}, kMask24, L"eth1", kOtherMac},
                   {{}, {}, L"bare", kBareMac}}};
    MemoryProfile profile;
    GuestParameters parameters;
    const InterfaceParameters &first = parameters.interface1, &second = parameters.interface2;
};

TEST_F(DialogAnswers, AGeneratedMacFollowsTheAddressAndAStoredOneStays) {
    const std::wstring generated = GeneratedMac(host, {10, 1, 2, 60});
    // The window stores the generated address too: it is still a generated one.
    const std::pair<std::wstring, std::wstring> storedAndWanted[] = {
        {L"", generated},
        {GeneratedMac(host, {10, 1, 2, 50}), generated},
        {L"02-00-5E-80-00-04", L"02-00-5E-80-00-04"}};
    for (const auto& [stored, wanted] : storedAndWanted) {
        if (!stored.empty()) {
            Store(L"Interface1_str", L"10.1.2.50", stored.c_str(), L"10.1.2.3");
        }
        Accept({.guestIp = L"10.1.2.60"});
        EXPECT_EQ(first.guestMacText, wanted);
    }
}

TEST_F(DialogAnswers, AnAdapterIsNamedInThreeWays) {
    for (const wchar_t* name : {L"10.9.0.7", L"eth1", L"ETH1", L"NPF_eth1"}) {
        EXPECT_EQ(Accept({.adapter = name}), L"10.9.0.111") << "of the chosen adapter's subnet";
        EXPECT_EQ(first.adapterIpText + L"/" + first.adapterMacText, L"10.9.0.7/");
        EXPECT_EQ(first.guestMacText, GeneratedMac(host, {10, 9, 0, 111}));
    }
    Accept({.adapter = L"00:1b:21:aa:bb:cc"});
    EXPECT_EQ(first.adapterIpText + L"/" + first.adapterMacText, L"/" + FormatMACAddr(kOtherMac));
    // An adapter without an address is bound by its MAC, and the guest keeps its
    // own address.
    EXPECT_EQ(Accept({.adapter = L"bare"}), L"10.1.2.111");
    EXPECT_EQ(first.adapterMacText, FormatMACAddr(kBareMac));
    for (const wchar_t* name : {L"eth2", L"10.9.0.8", L"0.0.0.0", L"00-00-00-00-00-01", L"eth"}) {
        ExpectRefused({.interface1 = {.adapter = name}}, {L"--adapter ", name, L"eth1"});
    }
    ExpectRefused({.library = L"sim", .interface1 = {.adapter = L"eth1"}},
                  {L"the simulated LAN has one adapter only"});
}

TEST_F(DialogAnswers, AStoredGuestAddressOfAnotherSubnetIsReplacedWithANote) {
    profile.texts[L"Interface1_strInterface_IPAddr"] = L"10.1.2.50";
    EXPECT_EQ(Accept({.adapter = L"eth0"}), L"10.1.2.50");
    EXPECT_EQ(Accept({.adapter = L"eth1"}, 1), L"10.9.0.111");
    // What was given is used as it is, in whatever subnet.
    EXPECT_EQ(Accept({.guestIp = L"172.16.0.1", .adapter = L"eth1"}), L"172.16.0.1");
}

TEST_F(DialogAnswers, TwoInterfaces) {
    EXPECT_FALSE(Answer({.interface2 = {.tapMode = false}}).refusal);
    EXPECT_TRUE(parameters.useTwoInterfaces && !second.tapMode);
    EXPECT_EQ(second.guestIpText, L"10.1.2.222");
    // After a run with one interface the second one's texts are stored empty.
    Store(L"Interface2_str", L"", L"", L"");
    ExpectRefused({.interface2 = {.guestIp = L"10.1.2.9"}},
                  {L"interface 2: IP Address: You must identify which host adapter", L"--adapter2"});
    EXPECT_FALSE(Answer({.interface2 = {.adapter = L"eth1"}}).refusal);
    EXPECT_EQ(second.guestIpText, L"10.9.0.222") << "derived anew for the named adapter";
    EXPECT_TRUE(second.tapMode) << "the second interface's default";
}

TEST_F(DialogAnswers, RefusalsNameTheOption) {
    ExpectRefused({.interface1 = {.guestMac = L"03-00-5E-80-00-04"}},
                  {L"MAC Address: The hardware address you entered is invalid.", L"--guest-mac"});
    Store(L"Interface1_str", L"10.1.2.50", L"", L"10.1.2.99");
    ExpectRefused({}, {L"No such host adapter exists with this IP address.", L"--adapter", L"eth0"});
    Store(L"Interface1_str", L"nonsense", L"", L"10.1.2.3");
    ExpectRefused({}, {L"--guest-ip"});
}

} // namespace
} // namespace vnxtest
