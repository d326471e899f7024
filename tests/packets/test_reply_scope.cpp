// The addresses that a reply may go to.

#include <gtest/gtest.h>

#include "packets/reply_scope.h"

namespace vnxtest {
namespace {

constexpr Ipv4Address kMask24(255, 255, 255, 0);

TEST(ReplyScope, AnotherHostIsOneThatThereCanBe) {
    ReplyScope scope{{}, {10, 1, 2, 111}, {10, 1, 2, 111}, kMask24, {}};
    for (const Ipv4Address host :
         {Ipv4Address(10, 1, 2, 1), Ipv4Address(10, 1, 2, 254), Ipv4Address(10, 1, 3, 0),
          Ipv4Address(10, 1, 3, 255), Ipv4Address(1, 0, 0, 1), Ipv4Address(223, 255, 255, 255),
          Ipv4Address(240, 0, 0, 1)}) {
        EXPECT_TRUE(IsAnotherHost(host, scope)) << std::hex << host.Host();
    }
    for (const Ipv4Address nobody :
         {Ipv4Address(10, 1, 2, 0), Ipv4Address(10, 1, 2, 255), Ipv4Address(10, 1, 2, 111),
          Ipv4Address(0, 0, 0, 0), Ipv4Address(0, 9, 9, 9), Ipv4Address(127, 0, 0, 1),
          Ipv4Address(127, 255, 255, 255), Ipv4Address(224, 0, 0, 1), Ipv4Address(239, 9, 9, 9),
          Ipv4Address(255, 255, 255, 255)}) {
        EXPECT_FALSE(IsAnotherHost(nobody, scope)) << std::hex << nobody.Host();
    }
    scope.broadcast = {10, 1, 9, 9};
    EXPECT_FALSE(IsAnotherHost({10, 1, 9, 9}, scope)) << "as it was set";
    scope.mask = {255, 255, 255, 254};
    EXPECT_TRUE(IsAnotherHost({10, 1, 2, 110}, scope)) << "two hosts and nothing else";
    scope.mask = {};
    EXPECT_TRUE(IsAnotherHost({10, 1, 2, 255}, scope)) << "no subnet is known";
}

} // namespace
} // namespace vnxtest
