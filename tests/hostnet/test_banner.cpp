#include <sstream>

#include <gtest/gtest.h>

#include "hostnet/banner.h"

namespace vnxtest {
namespace {

using Lines = std::vector<std::wstring>;

TEST(WrapText, BreaksAtBlanksAndCutsOnlyWhatMustBeCut) {
    EXPECT_EQ(WrapText(L"one two three", 7), (Lines{L"one two", L"three"}));
    EXPECT_EQ(WrapText(L"one  two", 8), (Lines{L"one two"}));
    EXPECT_EQ(WrapText(L"abcdefghij kl", 4), (Lines{L"abcd", L"efgh", L"ij", L"kl"}));
    EXPECT_EQ(WrapText(L"do:\n    this now\nend", 12), (Lines{L"do:", L"    this now", L"end"}));
    EXPECT_EQ(WrapText(L"do:\n    this now", 10), (Lines{L"do:", L"    this", L"now"}));
    EXPECT_EQ(WrapText(L"", 5), (Lines{L""}));
    EXPECT_EQ(WrapText(L"a\n\nb ", 5), (Lines{L"a", L"", L"b"}));
}

TEST(Banner, IsABoxOfEqualWidthWhateverItHolds) {
    const std::wstring longWord(200, L'x');
    for (const BannerKind kind : {BannerKind::Error, BannerKind::Warning}) {
        const std::wstring label = kind == BannerKind::Error ? L"ERROR:  *" : L"WARNING:  *";
        const std::wstring banner = MakeBanner(kind, {L"What is wrong: 100%s.", longWord, L""}, L"A topic");
        EXPECT_TRUE(banner.ends_with(L"*\n\n"));
        std::wistringstream lines(banner);
        std::size_t width = 0;
        std::size_t count = 0;
        for (std::wstring line; std::getline(lines, line) && !line.empty(); ++count) {
            EXPECT_TRUE(line.starts_with(label)) << ::testing::PrintToString(line);
            EXPECT_TRUE(line.ends_with(L"*"));
            width = width == 0 ? line.size() : width;
            EXPECT_EQ(line.size(), width) << ::testing::PrintToString(line);
        }
        EXPECT_GT(count, 10U);
        EXPECT_NE(banner.find(kind == BannerKind::Error ? L"  ***  ERROR  ***  " : L"  *  WARNING  *  "),
                  std::wstring::npos);
        EXPECT_NE(banner.find(L"Netorra"), std::wstring::npos);
        EXPECT_NE(banner.find(L"\"A topic\""), std::wstring::npos);
        EXPECT_NE(banner.find(L"What is wrong: 100%s."), std::wstring::npos);
    }
}

} // namespace
} // namespace vnxtest
