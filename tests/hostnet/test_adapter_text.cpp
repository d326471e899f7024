#include <gtest/gtest.h>

#include "hostnet/adapter_text.h"
#include "hostnet/scripted_host.h"

namespace vnxtest {
namespace {

TEST(LinkSpeed, ChangesItsUnitAtOneGigabit) {
    EXPECT_EQ(LinkSpeedText(10'000'000), L"1.0 Gbps");
    EXPECT_EQ(LinkSpeedText(9'999'000), L"999.9 Mbps");
    EXPECT_EQ(LinkSpeedText(100'000), L"10.0 Mbps");
    EXPECT_EQ(LinkSpeedText(4'000'000'000), L"400.0 Gbps");
    EXPECT_EQ(LinkSpeedText(1), L"0.0 Mbps");
    EXPECT_EQ(LinkSpeedText(0), L"0.0 Mbps (unknown)");
}

TEST(NdisMedium, HasTheirPublishedOrder) {
    EXPECT_EQ(GetNdisMediumName(0), L"NdisMedium802_3");
    EXPECT_EQ(GetNdisMediumName(7), L"NdisMediumArcnet878_2");
    EXPECT_EQ(GetNdisMediumName(16), L"NdisMediumNative802_11");
    EXPECT_EQ(GetNdisMediumName(19), L"NdisMediumIP");
    EXPECT_EQ(GetNdisMediumName(20), L"NdisMediumUnknown");
    EXPECT_EQ(GetNdisMediumName(0xFFFFFFFF), L"NdisMediumUnknown");
}

TEST(AdapterTexts, AreTrimmedAndSayWhatIsNotKnown) {
    ScriptedWrenPack library;
    ADAPTER_INFO_LIST_ENTRY entry = MakeAdapter(L"a", kMacA, {10, 0, 0, 1}, kMask24);
    EXPECT_EQ(GetAdapterTexts(entry, library).connection, L"a");
    EXPECT_EQ(GetAdapterTexts(entry, library).description, L"a test adapter");
    EXPECT_EQ(GetAdapterTexts(entry, library).mac, L"02-00-00-00-00-0A");
    EXPECT_EQ(GetAdapterTexts(entry, library).gateway, L"0.0.0.0");
    EXPECT_EQ(GetAdapterTexts(entry, library).dhcp, L"No");
    library.dhcpKnown = false;
    EXPECT_EQ(GetAdapterTexts(entry, library).dhcp, L"unknown");
    entry.DHCP = 1;
    EXPECT_EQ(GetAdapterTexts(entry, library).dhcp, L"Yes");
}

} // namespace
} // namespace vnxtest
