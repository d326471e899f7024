#include <algorithm>

#include "support/guest_fixture.h"
#include "support/output_fixture.h"
#include "support/quiet_host.h"

namespace vnxtest {
namespace {

// A distinctive text of each question; A and B are about the gateway, C and D about the subnet.
constexpr std::pair<char, const wchar_t*> kWords[] = {
    {'A', L"packets will not be routed properly and some tests may fail."},
    {'B', L"virtual subnets which are known to be using the same physical adapter."},
    {'C', L"Even though IP Routing is enabled"},
    {'D', L"is a true router that knows how to route packets"}};

class PreStartChecksTest : public OutputFixture {
protected:
    PreStartChecksTest() {
        m_tables.parametersCode = m_tables.addressesCode = 0;
        m_tables.AddAddress(Ipv4Address(10, 1, 2, 3), kMask24, 1);
        m_library.failOpen = ENODEV; // how far a start gets is another test's affair
        m_frontEnd.askParameters = [this](GuestParameters& parameters) {
            parameters.interface1.adapterIpText = L"10.1.2.3";
            parameters.interface1.guestIpText = m_guestIp;
            parameters.interface2 = {};           // not used
            return m_frontEnd.offered.size() < 2; // the second time the user gives up
        };
    }

    // Starts with these circumstances; returns a letter for each question asked, and "!" when the guest was
    // started.
    std::string Start(bool forwarding, bool gateway, bool inSubnet, std::deque<bool> answers) {
        m_tables.networkParameters.forwardsPackets = forwarding;
        HostNetwork host(SourcesOf(m_tables, m_adapters, m_library));
        host.InitGlobals();
        if (gateway) {
            host.SetDefaultGateway(Ipv4Address(10, 1, 2, 254), MacAddress({2, 0, 0, 0, 0, 1}));
        }
        m_guestIp = inSubnet ? L"10.1.2.111" : L"10.9.9.9";
        m_frontEnd.answers = std::move(answers);
        m_frontEnd.questions.clear();
        m_frontEnd.offered.clear();
        MemoryProfile profile;
        Settings settings(profile);
        const bool started = Guest(m_library, host, settings, m_frontEnd).OnStartGuest();
        std::string asked;
        for (const std::wstring& question : m_frontEnd.questions) {
            const auto* const found = std::ranges::find_if(
                kWords, [&](const auto& each) { return question.find(each.second) != std::wstring::npos; });
            asked += found != std::end(kWords) ? found->first : '?';
        }
        return asked + (started ? "!" : "");
    }

    std::wstring m_guestIp;
    QuietTables m_tables; // a host with one address, that forwards packets or does not
    QuietAdapters m_adapters;
    ScriptedFrontEnd m_frontEnd;
};

TEST_F(PreStartChecksTest, AskWhatTheCircumstancesCallForAndCancelGoesBackToTheParameters) {
    struct Case {
        bool forwarding, gateway, inSubnet;
        const char* asked;
    };
    for (const auto& [forwarding, gateway, inSubnet, asked] : {Case{false, false, true, "A!"},
                                                               {false, false, false, "AB!"},
                                                               {false, true, true, "!"},
                                                               {false, true, false, "D!"},
                                                               {true, false, true, "!"},
                                                               {true, false, false, "C!"},
                                                               {true, true, true, "!"},
                                                               {true, true, false, "D!"}}) {
        EXPECT_EQ(Start(forwarding, gateway, inSubnet, {true, true}), asked);
    }
    EXPECT_EQ(Start(false, false, false, {true, false}), "AB");
    EXPECT_EQ(m_frontEnd.offered.size(), 2U);
    EXPECT_EQ(m_frontEnd.offered.back().interface1.guestIpText, L"10.9.9.9") << "those just entered";
    EXPECT_EQ(Start(false, false, true, {false}), "A");
    EXPECT_EQ(m_frontEnd.offered.size(), 2U);
}

TEST_F(PreStartChecksTest, WhatWasDerivedForOneAdapterIsNotKeptForAnother) {
    m_tables.AddAddress(Ipv4Address(172, 16, 2, 3), Ipv4Address(255, 255, 0, 0), 2);
    HostNetwork host(SourcesOf(m_tables, m_adapters, m_library));
    host.InitGlobals();
    host.SetDefaultGateway(Ipv4Address(10, 1, 2, 254), MacAddress({2, 0, 0, 0, 0, 1}));
    MemoryProfile profile;
    Settings settings(profile);
    Guest guest(m_library, host, settings, m_frontEnd);
    for (const auto& [guestIp, adapterIp, mac, broadcast] :
         {std::tuple{L"10.1.2.111", L"10.1.2.3", std::uint8_t{1}, L"10.1.2.255"},
          {L"172.16.9.9", L"172.16.2.3", std::uint8_t{2}, L"172.16.255.255"},
          {L"10.1.2.112", L"10.1.2.3", std::uint8_t{3}, L"10.1.2.255"}}) {
        m_library.neighbourMac = {2, 0, 0, 0, 0, mac};
        m_frontEnd.askParameters = [&](GuestParameters& parameters) {
            parameters.interface1 = {true, guestIp, L"", adapterIp, L""};
            parameters.interface2 = {};
            return true;
        };
        EXPECT_TRUE(guest.OnStartGuest());
        guest.StopGuest();
        EXPECT_EQ(guest.Interface(0).addresses.adapterMac, MacAddress({2, 0, 0, 0, 0, mac}));
        EXPECT_EQ(guest.Interface(0).addresses.broadcastText, broadcast);
        EXPECT_TRUE(guest.Interface(0).addresses.inAdapterSubnet);
    }
}

} // namespace
} // namespace vnxtest
