// Texts of adapters, texts that the user enters, and the banners.
#include <sstream>

#include <gtest/gtest.h>

#include "hostnet/adapter_text.h"
#include "hostnet/banner.h"
#include "hostnet/scripted_host.h"

namespace vnxtest {
namespace {

using Lines = std::vector<std::wstring>;

TEST(AdapterTexts, TheUnitOfTheSpeed) {
    for (const auto& [speed, text] : {std::pair<std::uint64_t, const wchar_t*>{1'000'000'000, L"1.0 Gbps"},
                                      {999'900'000, L"999.9 Mbps"},
                                      {400'000'000'000, L"400.0 Gbps"},
                                      {800'000'000'000, L"800.0 Gbps"},
                                      {100, L"0.0 Mbps"}}) {
        EXPECT_EQ(LinkSpeedText(speed), text);
    }
    EXPECT_EQ(LinkSpeedText(std::nullopt), L"0.0 Mbps (unknown)");
}

TEST(WrapText, BreaksAtBlanksAndCutsOnlyWhatMustBeCut) {
    EXPECT_EQ(WrapText(L"one  two three", 7), (Lines{L"one two", L"three"}));
    EXPECT_EQ(WrapText(L"abcdefghij kl", 4), (Lines{L"abcd", L"efgh", L"ij", L"kl"}));
    EXPECT_EQ(WrapText(L"do:\n    this now\nend", 12), (Lines{L"do:", L"    this now", L"end"}));
    EXPECT_EQ(WrapText(L"run:\n    a command\nend", 8), (Lines{L"run:", L"    a command", L"end"}))
        << "to be copied";
    EXPECT_EQ(WrapText(L"", 5), (Lines{L""}));
    EXPECT_EQ(WrapText(L"a\n\nb ", 5), (Lines{L"a", L"", L"b"}));
}

TEST(Banner, IsABoxOfEqualWidthWhateverItHolds) {
    for (const bool error : {true, false}) {
        const std::wstring banner = MakeBanner(error ? BannerKind::Error : BannerKind::Warning,
                                               {L"Wrong: 100%s.", std::wstring(200, L'x'), L""}, L"A topic");
        std::wistringstream lines(banner);
        for (std::wstring line; std::getline(lines, line) && !line.empty();) {
            EXPECT_TRUE(line.starts_with(error ? L"ERROR:  *" : L"WARNING:  *") && line.ends_with(L"*"));
            EXPECT_EQ(line.size(), banner.find(L'\n')) << ::testing::PrintToString(line);
        }
        for (const wchar_t* part : {error ? L"  ***  ERROR  ***  " : L"  *  WARNING  *  ",
                                    L"\"A topic\" of the Netorra", L"100%s.", L"*\n\n"}) {
            EXPECT_NE(banner.find(part), std::wstring::npos) << ::testing::PrintToString(part);
        }
    }
}

} // namespace
} // namespace vnxtest
