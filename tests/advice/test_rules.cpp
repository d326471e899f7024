// The rules over observations that are written down here; their causes on real wires:
// tests/e2e/test_advice.py.
#include <gtest/gtest.h>

#include "advice/advice.h"

namespace vnxtest {
namespace {

InterfaceObservations Guest(int number) {
    InterfaceObservations guest;
    guest.number = number;
    guest.guestIp = Ipv4Address(10, 1, 2, 111);
    return guest;
}

void Ignore(InterfaceObservations& guest, IgnoredPing kind, std::uint64_t count) {
    guest.ignoredPings[static_cast<std::size_t>(kind)] = {
        count, {Ipv4Address(10, 1, 2, 1), Ipv4Address(10, 1, 2, 2), Ipv4Address(10, 1, 2, 3)}};
}

TEST(Advice, NothingSeenIsNothingSaid) {
    EXPECT_TRUE(Advise({}).empty());
    EXPECT_TRUE(Advise({.interfaces = {Guest(1), Guest(2)}}).empty());
}

TEST(Advice, SaysWhatWasSeenOncePerInterfaceWithFiguresAndSenders) {
    Observations observed{.interfaces = {Guest(1), Guest(2)}};
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

} // namespace
} // namespace vnxtest
