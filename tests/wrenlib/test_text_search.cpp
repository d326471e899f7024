#include "wrenlib/text_search.h"

#include <algorithm>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace vnxtest {
namespace {

std::string Lower(std::string text) {
    std::ranges::transform(text, text.begin(), [](char one) {
        return one >= 'A' && one <= 'Z' ? static_cast<char>(one + 32) : one;
    });
    return text;
}

// Few letters, so that there are many matches, overlapping ones, and near ones.
TEST(TextSearch, FindsWhatAPlainSearchFinds) {
    std::mt19937 random(1);
    constexpr std::string_view kLetters = "aAbB.\xC3\xA4";
    const auto make = [&](std::size_t size) {
        std::string text;
        std::generate_n(std::back_inserter(text), size, [&] { return kLetters[random() % kLetters.size()]; });
        return text;
    };
    int found = 0;
    for (int round = 0; round < 5000; ++round) {
        const std::string text = make(random() % 60);
        const std::string wanted = make(1 + random() % 5);
        EXPECT_EQ(FindFirstText(text, wanted, LetterCase::Matters), text.find(wanted))
            << text << ' ' << wanted;
        EXPECT_EQ(FindLastText(text, wanted, LetterCase::Matters), text.rfind(wanted))
            << text << ' ' << wanted;
        EXPECT_EQ(FindFirstText(text, wanted, LetterCase::Ignored), Lower(text).find(Lower(wanted)));
        EXPECT_EQ(FindLastText(text, wanted, LetterCase::Ignored), Lower(text).rfind(Lower(wanted)));
        found += static_cast<int>(text.find(wanted) != std::string::npos);
    }
    EXPECT_GT(found, 1000);
}

} // namespace
} // namespace vnxtest
