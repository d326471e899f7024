#include <gtest/gtest.h>

#include "wrenlib/address.h"

namespace vnxtest {
namespace {

TEST(Ipv4AddressText, AcceptsFourNumbersAndNothingElse) {
    const auto address = *ParseIPAddress(L"10.1.2.3");
    EXPECT_EQ(address.Host(), 0x0A010203U);
    EXPECT_EQ(Ipv4Address::FromMemory(address.Memory()), address);
    EXPECT_EQ(FormatIPAddr(address | ~Ipv4Address(255, 255, 0, 0)), L"10.1.255.255");
    EXPECT_EQ(ParseIPAddress(L"0.0.0.0"), Ipv4Address());
    EXPECT_EQ(ParseIPAddress(L"255.255.255.255"), Ipv4Address(255, 255, 255, 255));
    for (const wchar_t* bad : {L"", L".", L"1.2.3", L"1.2.3.4.", L"1.2.3.4.5", L"256.1.1.1", L"1.2.3.-4",
                               L" 1.2.3.4", L"1.2.3.4 ", L"1..3.4", L"0x1.2.3.4", L"1.2.3.0004", L"1,2,3,4",
                               L"1.2.3.4\n", L"99999999999999999999.1.1.1", L"١.2.3.4"}) {
        EXPECT_FALSE(ParseIPAddress(bad)) << ::testing::PrintToString(std::wstring(bad));
    }
}

TEST(MacAddressText, AcceptsOneKindOfSeparator) {
    const auto mac = ParseMACAddress(L"02-00-5e-80-00-04");
    ASSERT_TRUE(mac);
    EXPECT_EQ(FormatMACAddr(*mac), L"02-00-5E-80-00-04");
    EXPECT_EQ(ParseMACAddress(L"02:00:5E:80:00:04"), mac);
    EXPECT_TRUE(mac->IsLocal());
    EXPECT_FALSE(mac->IsGroup());
    EXPECT_TRUE(MacAddress::Broadcast().IsGroup());
    for (const wchar_t* bad :
         {L"", L"02-00-5E-80-00", L"02-00-5E:80-00-04", L"02005E800004", L"02-00-5E-80-00-0G",
          L"02-00-5E-80-00-04-", L"2-0-5E-80-00-04", L"02 00 5E 80 00 04"}) {
        EXPECT_FALSE(ParseMACAddress(bad)) << ::testing::PrintToString(std::wstring(bad));
    }
}

} // namespace
} // namespace vnxtest
