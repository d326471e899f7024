#include <algorithm>

#include "support/guest_fixture.h"
#include "support/output_fixture.h"
#include "support/quiet_host.h"

namespace vnxtest {
namespace {

class PreStartChecksTest : public OutputFixture {
protected:
    PreStartChecksTest() {
        m_tables.parametersCode = m_tables.addressesCode = 0;
        m_tables.AddAddress(Ipv4Address(10, 1, 2, 3), kMask24, 1);
        m_library.failOpen = ENODEV; // how far a start gets is another test's affair
        m_frontEnd.askParameters = [this](GuestParameters& parameters) {
            parameters.interface1.adapterIpText = L"10.1.2.3";
            parameters.interface1.guestIpText = m_guestIp;
            parameters.interface2 = {};            // not used
            return m_frontEnd.parametersAsked < 2; // the second time the user gives up
        };
    }

    // Starts with these circumstances; returns which texts were asked, by their number of words that
    // tell them apart, and whether the guest was started.
    struct Outcome {
        std::vector<std::string> questions;
        bool started = false;
    };
    Outcome Start(bool forwarding, bool gateway, bool inSubnet, std::deque<bool> answers) {
        m_tables.networkParameters.enableRouting = forwarding;
        HostNetwork host({m_tables, m_adapters}, m_library);
        host.InitGlobals();
        if (gateway) {
            host.SetDefaultGateway(Ipv4Address(10, 1, 2, 254), MacAddress({2, 0, 0, 0, 0, 1}));
        }
        m_guestIp = inSubnet ? L"10.1.2.111" : L"10.9.9.9";
        m_frontEnd.answers = std::move(answers);
        m_frontEnd.questions.clear();
        m_frontEnd.parametersAsked = 0;
        MemoryProfile profile;
        Settings settings(profile);
        Guest guest(m_library, host, settings, m_frontEnd);
        Outcome outcome;
        outcome.started = guest.OnStartGuest();
        for (const std::wstring& question : m_frontEnd.questions) {
            const auto has = [&](const wchar_t* words) { return question.find(words) != std::wstring::npos; };
            outcome.questions.push_back(has(L"some tests may fail")                 ? "A"
                                        : has(L"cannot possibly work")              ? "B"
                                        : has(L"Even though IP Routing is enabled") ? "C"
                                        : has(L"Unless the default gateway")        ? "D"
                                                                                    : "?");
        }
        return outcome;
    }

    std::wstring m_guestIp;
    QuietTables m_tables; // a host with one address, that forwards packets or does not
    QuietAdapters m_adapters;
    ScriptedFrontEnd m_frontEnd;
};

using Questions = std::vector<std::string>;

TEST_F(PreStartChecksTest, AskWhatTheCircumstancesCallFor) {
    struct Case {
        bool forwarding, gateway, inSubnet;
        Questions questions;
    };
    const Case cases[] = {
        {false, false, true, {"A"}}, {false, false, false, {"A", "B"}}, {false, true, true, {}},
        {false, true, false, {"D"}}, {true, false, true, {}},           {true, false, false, {"C"}},
        {true, true, true, {}},      {true, true, false, {"D"}},
    };
    for (const Case& one : cases) {
        const Outcome outcome = Start(one.forwarding, one.gateway, one.inSubnet, {true, true});
        EXPECT_EQ(outcome.questions, one.questions);
        EXPECT_TRUE(outcome.started);
    }
}

TEST_F(PreStartChecksTest, CancelGoesBackToTheParametersJustEntered) {
    m_frontEnd.offered.clear();
    const Outcome first = Start(false, false, false, {true, false});
    EXPECT_EQ(first.questions, (Questions{"A", "B"}));
    EXPECT_FALSE(first.started);
    EXPECT_EQ(m_frontEnd.parametersAsked, 2);
    EXPECT_EQ(m_frontEnd.offered.back().interface1.guestIpText, L"10.9.9.9");
    EXPECT_EQ(Start(false, false, true, {false}).questions, Questions{"A"});
    EXPECT_EQ(m_frontEnd.parametersAsked, 2);
}

} // namespace
} // namespace vnxtest
