// The rules about a wire, over facts that are written down here; their causes on real wires:
// tests/e2e/test_wire_advice.py.
#include <gtest/gtest.h>

#include <string_view>
#include <vector>

#include "advice/advice.h"

namespace vnxtest {
namespace {

using namespace std::chrono_literals;

constexpr Ipv4Address kGuest(10, 1, 2, 111), kTarget(10, 1, 2, 3), kGateway(10, 1, 2, 1);
constexpr MacAddress kMac({2, 0, 0, 0, 0, 8});

class WireRules : public testing::Test {
protected:
    WireRules() {
        m_observed.interfaces.resize(1);
        m_observed.interfaces[0].guestIp = kGuest;
        m_observed.pingTarget = kTarget;
        m_observed.gateways = {kGateway};
    }
    WireFacts& Wire() {
        return m_observed.interfaces[0].wire ? *m_observed.interfaces[0].wire
                                             : m_observed.interfaces[0].wire.emplace();
    }
    std::vector<std::string_view> Ids() {
        std::vector<std::string_view> ids;
        for (const Finding& finding : Advise(m_observed)) {
            ids.push_back(finding.id);
        }
        return ids;
    }

    Observations m_observed;
};

TEST_F(WireRules, AWireWithoutFactsOrWithGoodOnesSaysNothing) {
    EXPECT_TRUE(Ids().empty());
    Wire().beyondMtu.mtu = 1500;
    Wire().silent = {{Ipv4Address(10, 1, 2, 77), 5, false}}; // neither target nor gateway
    EXPECT_TRUE(Ids().empty());
}

TEST_F(WireRules, EachFactIsOneFindingWithItsFigures) {
    Wire().addressInUse = {kMac, false, 2, 3210ms};
    Wire().noCarrier = {2, 1500ms, 700ms, true};
    Wire().silent = {{kTarget, 1, true}, {kGateway, 4, false}};
    const Findings findings = Advise(m_observed);
    ASSERT_EQ(findings.size(), 4u);
    EXPECT_EQ(
        findings[0].seen,
        L"The adapter was without carrier 2 times, first 1.5 s after the start, for 0.7 s, and still is.");
    EXPECT_EQ(findings[1].seen,
              L"The IP address 10.1.2.111 of the guest is in use by another station, with the MAC address "
              L"02-00-00-00-00-08: it said so itself, first 3.2 s after the start.");
    EXPECT_EQ(findings[2].seen,
              L"The gateway 10.1.2.1 did not answer ARP: it was asked 4 times, and never did.");
    EXPECT_EQ(findings[3].seen,
              L"The target 10.1.2.3 did not answer ARP: it was asked once since it last did.");
}

// Where the addresses explain it, "see that the target is on" leads astray.
TEST_F(WireRules, ATargetThatCannotAnswerIsNotSilent) {
    Wire().silent = {{kTarget, 1, false}};
    InterfaceObservations& guest = m_observed.interfaces[0];
    guest.adapterIp = Ipv4Address(10, 1, 2, 5);
    guest.netMask = Ipv4Address(255, 255, 255, 0);
    EXPECT_EQ(Ids(), std::vector<std::string_view>{"target-silent"});
    m_observed.host.addresses = {kTarget};
    EXPECT_TRUE(Ids().empty()) << "the host itself";
    m_observed.host.addresses.clear();
    guest.adapterIp = Ipv4Address(10, 9, 9, 5);
    EXPECT_TRUE(Ids().empty()) << "in another network, and no gateway";
    m_observed.host.gateway = Ipv4Address();
    EXPECT_EQ(Ids(), std::vector<std::string_view>{"target-silent"}) << "a route without a gateway";
}

TEST_F(WireRules, AnAdapterThatIsGoneIsNotToldAsDown) {
    Wire().down = {1, 1s, 1s, false};
    Wire().gone = {1, 2s, 1s, true};
    const Findings findings = Advise(m_observed);
    ASSERT_EQ(findings.size(), 1u);
    EXPECT_EQ(findings[0].seen, L"The adapter was taken away 2.0 s after the start.");
}

} // namespace
} // namespace vnxtest
