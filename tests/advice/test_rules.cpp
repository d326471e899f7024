// The rules over observations that are written down here; their causes on real wires:
// tests/e2e/test_advice.py.
#include <gtest/gtest.h>

#include "advice/advice.h"

namespace vnxtest {
namespace {

InterfaceObservations Guest(int number) {
    InterfaceObservations guest;
    guest.number = number;
    guest.guestIp = Ipv4Address(10, 1, 2, number == 1 ? 111 : 112);
    return guest;
}

void Ignore(InterfaceObservations& guest, IgnoredPing kind, std::uint64_t count) {
    guest.ignoredPings[static_cast<std::size_t>(kind)] = {
        count, {Ipv4Address(10, 1, 2, 1), Ipv4Address(10, 1, 2, 2), Ipv4Address(10, 1, 2, 3)}};
}

Observations With(std::vector<InterfaceObservations> interfaces) {
    Observations observed;
    observed.interfaces = std::move(interfaces);
    return observed;
}

TEST(Advice, NothingSeenIsNothingSaid) {
    EXPECT_TRUE(Advise({}).empty());
    EXPECT_TRUE(Advise(With({Guest(1), Guest(2)})).empty());
}

TEST(Advice, SaysWhatWasSeenOncePerInterfaceWithFiguresAndSenders) {
    Observations observed = With({Guest(1), Guest(2)});
    Ignore(observed.interfaces[0], IgnoredPing::RequestWithoutData, 1);
    Ignore(observed.interfaces[1], IgnoredPing::RequestDontFragment, 7);
    const Findings findings = Advise(observed);
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0].id, "dont-fragment-requests");
    EXPECT_EQ(findings[0].interfaceNumber, 2);
    EXPECT_EQ(findings[0].seen,
              L"7 echo requests for the guest's interface 2 were ignored for the Don't-Fragment "
              L"bit alone, last from 10.1.2.1, 10.1.2.2 and 10.1.2.3.");
    EXPECT_EQ(findings[1].id, "requests-without-data");
    EXPECT_EQ(findings[1].seen.substr(0, 65),
              L"1 echo request for the guest's interface 1 was ignored for being ");
}

// What was remembered of the senders: different ones, the last three.
TEST(Advice, RemembersTheLastSenders) {
    IgnoredPings pings;
    for (const unsigned last : {1U, 1U, 2U, 3U, 2U, 4U}) {
        pings.Note(IgnoredPing::ReplyForeign, Ipv4Address::FromHost(0x0A000000 + last));
    }
    const IgnoredPings::Kind kind = pings.Read(IgnoredPing::ReplyForeign);
    EXPECT_EQ(kind.count, 6U);
    EXPECT_EQ(kind.senders,
              (std::vector{Ipv4Address(10, 0, 0, 4), Ipv4Address(10, 0, 0, 2), Ipv4Address(10, 0, 0, 3)}));
    pings.Clear();
    EXPECT_TRUE(pings.Read(IgnoredPing::ReplyForeign).senders.empty());
}

std::vector<std::string> IdsOf(const Observations& observed) {
    std::vector<std::string> ids;
    for (const Finding& finding : Advise(observed)) {
        EXPECT_FALSE(finding.seen.empty() || finding.means.empty() || finding.action.empty());
        ids.emplace_back(finding.id);
    }
    return ids;
}

// A test of as many pings as `answers` has characters: "+" answered in time, "l" answered 40 ms too late, "-"
// lost, "?" not decided
// yet.
PingCourse Pinged(const std::string& answers) {
    constexpr std::uint32_t kTimeout = 100, kLate = 40;
    PingRecords records;
    for (const char answer : answers) {
        CPing ping;
        ping.dwDeadlineTick = kTimeout;
        ping.nReplies = answer == '+' || answer == 'l' ? 1 : 0;
        ping.nTimeouts = answer == '-' || answer == 'l' ? 1 : 0;
        ping.dwReplyTick = answer == 'l' ? kTimeout + kLate : 1;
        records.pings.push_back(ping);
    }
    return CourseOf({.target = Ipv4Address(10, 1, 2, 9), .targetName = L"", .timeout = kTimeout}, records);
}

Observations Tested(const PingCourse& ping) {
    Observations observed = With({Guest(1)});
    observed.ping = ping;
    observed.interfaces[0].adapterIp = Ipv4Address(10, 1, 2, 3);
    observed.interfaces[0].netMask = Ipv4Address::Mask(24);
    observed.host.addresses = {Ipv4Address(10, 1, 2, 3)};
    return observed;
}

std::string Repeated(int times, const std::string& text) {
    std::string result;
    for (int time = 0; time < times; ++time) {
        result += text;
    }
    return result;
}

TEST(Advice, KnowsPatternsOfLossAndLateness) {
    using Ids = std::vector<std::string>;
    const struct {
        std::string answers;
        Ids wanted;
    } cases[] = {
        {Repeated(40, "+"), {}},
        {Repeated(10, "+"), {}},
        {Repeated(36, "+") + "---+", {"loss-in-bursts"}},
        {Repeated(37, "+") + "--+", {}}, // too few for a pattern
        {"---" + Repeated(10, "+"), {}}, // too short a test
        {Repeated(10, "++++-"), {"steady-loss"}},
        {Repeated(3, "++++++++-"), {}},
        {Repeated(30, "-+-"), {"steady-loss"}}, // many are lost, but the runs are as short as by chance
        {Repeated(20, "-") + Repeated(20, "+"), {"loss-in-bursts"}},
        {Repeated(40, "-"), {}}, // a target that does not answer is another matter
        {"l", {"late-replies"}},
        {Repeated(10, "+") + "l", {}}, // less than a tenth
        {Repeated(9, "+") + "l", {"late-replies"}},
    };
    for (const auto& [answers, wanted] : cases) {
        EXPECT_EQ(IdsOf(Tested(Pinged(answers))), wanted) << answers;
        PingCourse running = Pinged(answers);
        running.over = false;
        EXPECT_EQ(IdsOf(Tested(running)), Ids{}) << "not before the end: " << answers;
    }
    Observations dropped = Tested(Pinged(Repeated(10, "++++-")));
    dropped.interfaces[0].droppedByDriver = 2;
    EXPECT_EQ(IdsOf(dropped), Ids{"capture-buffer-overflowed"}) << "that explains the loss";
    EXPECT_EQ(Pinged("lll+").medianLateness, 40U);
}

// Why nothing is answered is told only when there was time to answer.
TEST(Advice, SaysNothingOfAddressesBeforeThereWasTimeToAnswer) {
    const auto withTarget = [](PingCourse ping, Ipv4Address target) {
        ping.target = target;
        return Tested(ping);
    };
    const Ipv4Address host(10, 1, 2, 3), elsewhere(10, 9, 9, 9);
    const std::vector<std::string> own{"target-on-this-host"};
    PingFigures figures;
    figures.statistics.sent = 1;
    figures.firstTick = 77;
    EXPECT_TRUE(IdsOf(withTarget(CourseSoFar({}, figures, 77 + 4999), host)).empty());
    EXPECT_EQ(IdsOf(withTarget(CourseSoFar({}, figures, 77 + 5000), host)), own);
    EXPECT_TRUE(IdsOf(withTarget(Pinged("?"), host)).empty()) << "stopped before the first time-out";
    EXPECT_EQ(IdsOf(withTarget(Pinged("-"), host)), own);
    EXPECT_TRUE(IdsOf(withTarget(Pinged("-+"), host)).empty());
    EXPECT_TRUE(IdsOf(withTarget(Pinged("+"), elsewhere)).empty());
    EXPECT_EQ(IdsOf(withTarget(Pinged("-"), elsewhere)), std::vector<std::string>{"no-gateway"});
}

TEST(Advice, SaysThatOnlyLargePingsAreLost) {
    const std::vector<std::string> large{"large-pings-lost"};
    PingCourse ping = Pinged("---");
    ping.dataSize = 1000;
    Observations observed = Tested(ping);
    EXPECT_TRUE(IdsOf(observed).empty()) << "nobody is known to answer";
    observed.earlierPings = {{Ipv4Address(10, 1, 2, 9), 1000}, {Ipv4Address(10, 1, 2, 8), 32}};
    EXPECT_TRUE(IdsOf(observed).empty()) << "none was smaller and to the same target";
    observed.earlierPings.push_back({Ipv4Address(10, 1, 2, 9), 32});
    EXPECT_EQ(IdsOf(observed), large);
    Ignore(observed.interfaces[0], IgnoredPing::ErrorTooLarge, 3);
    EXPECT_TRUE(IdsOf(observed).empty()) << "about what nobody has sent";
    observed.pingTarget = Ipv4Address(10, 1, 2, 9);
    EXPECT_EQ(IdsOf(observed), std::vector<std::string>{"too-large-for-a-link"});
    for (const std::uint32_t size : {1472U, 1473U}) {
        ping.dataSize = size;
        observed = Tested(ping);
        observed.interfaces[0].framesRead = 1;
        EXPECT_EQ(IdsOf(observed).empty(), size == 1472U) << "few links take a packet beyond 1500 bytes";
    }
}

TEST(Advice, KnowsAddressesThatNoGuestCanHave) {
    Observations alike = With({Guest(1), Guest(2)});
    alike.interfaces[0].guestMac = alike.interfaces[1].guestMac = MacAddress({2, 0, 0, 0, 0, 1});
    EXPECT_EQ(IdsOf(alike), std::vector<std::string>{"guests-alike"});
    const struct {
        Ipv4Address ip;
        bool reserved;
    } cases[] = {{Ipv4Address(10, 1, 2, 0), true},
                 {Ipv4Address(10, 1, 2, 255), true},
                 {Ipv4Address(10, 1, 2, 1), false},
                 {Ipv4Address(10, 1, 3, 255), false},
                 {Ipv4Address(127, 0, 0, 1), true},
                 {Ipv4Address(224, 0, 0, 9), true},
                 {Ipv4Address(10, 1, 2, 254), false},
                 {Ipv4Address(240, 0, 0, 1), true},
                 {Ipv4Address(), false}};
    for (const auto& [ip, reserved] : cases) {
        Observations observed = Tested(Pinged("+"));
        observed.interfaces[0].guestIp = ip;
        EXPECT_EQ(!IdsOf(observed).empty(), reserved) << ip.Host();
    }
}

} // namespace
} // namespace vnxtest
