#include <gtest/gtest.h>

#include "platform/inet_text.h"

namespace vnxtest {
namespace {

TEST(StringToIPAddr, WritesTheResultOfEveryTextThatIsNotEmpty) {
    Ipv4Address address(1, 2, 3, 4);
    EXPECT_FALSE(StringToIPAddr(nullptr, address));
    EXPECT_FALSE(StringToIPAddr(L"", address));
    EXPECT_EQ(address, Ipv4Address(1, 2, 3, 4));
    EXPECT_FALSE(StringToIPAddr(L"nonsense", address));
    EXPECT_EQ(address, Ipv4Address(255, 255, 255, 255));
    EXPECT_TRUE(StringToIPAddr(L"10.1", address)); // inet_addr's short form
    EXPECT_EQ(address, Ipv4Address(10, 0, 0, 1));
    EXPECT_FALSE(StringToIPAddr(L"255.255.65535", address));
    EXPECT_TRUE(StringToIPAddr(L"255.255.255.255", address)) << "all ones by its own text only";
    EXPECT_EQ(address, Ipv4Address(255, 255, 255, 255));
}

} // namespace
} // namespace vnxtest
