#include <gtest/gtest.h>

#include "hostnet/address_validation.h"
#include "hostnet/scripted_host.h"

namespace vnxtest {
namespace {

TEST(ValidateIPAddress, NeedsAllFourFields) {
    EXPECT_EQ(ValidateIPAddress({10, 0, 0, 255}), L"10.0.0.255");
    EXPECT_FALSE(ValidateIPAddress({10, 0, std::nullopt, 1}));
    EXPECT_FALSE(ValidateIPAddress({std::nullopt, std::nullopt, std::nullopt, std::nullopt}));
    EXPECT_FALSE(ValidateIPAddress({10, 0, 0, 256}));
    EXPECT_FALSE(ValidateIPAddress({10, 0, -1, 1}));
    EXPECT_TRUE(ValidateIPAddress(L"10.0.0.1"));
    EXPECT_FALSE(ValidateIPAddress(L"10.0.1"));
}

TEST(ValidateMACAddress, RefusesGroupsAndWhereAskedGlobalAddresses) {
    EXPECT_TRUE(ValidateMACAddress(L"00-11-22-33-44-55", false));
    EXPECT_FALSE(ValidateMACAddress(L"00-11-22-33-44-55", true));
    EXPECT_TRUE(ValidateMACAddress(L"02:11:22:33:44:55", true));
    for (const wchar_t* group : {L"01-00-5E-00-00-01", L"03-11-22-33-44-55", L"FF-FF-FF-FF-FF-FF"}) {
        EXPECT_FALSE(ValidateMACAddress(group, false));
        EXPECT_FALSE(ValidateMACAddress(group, true));
    }
    EXPECT_FALSE(ValidateMACAddress(L"02-11-22-33-44", false));
}

TEST(ValidateAdapter, KnowsTheAddressesOfTheList) {
    ScriptedTables tables;
    ScriptedWrenPack adapters;
    DefaultingLibrary library;
    adapters.entries = {MakeAdapter(L"a", kMacA, {10, 0, 0, 1}, kMask24), MakeAdapter(L"b", kMacB)};
    HostNetwork network({tables, adapters}, library);
    ASSERT_TRUE(network.InitFPAdaptersList());
    EXPECT_TRUE(ValidateAdapterIPAddress(L"10.0.0.1", network));
    EXPECT_FALSE(ValidateAdapterIPAddress(L"1.0.0.10", network)) << "the bytes the other way round";
    EXPECT_FALSE(ValidateAdapterIPAddress(L"0.0.0.0", network));
    EXPECT_FALSE(ValidateAdapterIPAddress(L"", network));
    EXPECT_TRUE(ValidateAdapterMACAddress(L"02:00:00:00:00:0b", network));
    EXPECT_FALSE(ValidateAdapterMACAddress(L"02-00-00-00-00-0C", network));
}

} // namespace
} // namespace vnxtest
