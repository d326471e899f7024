#include <algorithm>
#include <sstream>

#include <gtest/gtest.h>

#include "cli/options/options.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

// A command line, its words between blanks; "''" is an empty one, "_" a blank.
std::variant<Options, OptionsAnswer> Parse(const std::string& line) {
    std::istringstream words(line);
    std::vector<std::string> arguments;
    for (std::string word; words >> word;) {
        std::ranges::replace(word, '_', ' ');
        arguments.push_back(word == "''" ? "" : word);
    }
    return ParseOptions(arguments);
}

Options Accept(const std::string& line) {
    const auto parsed = Parse(line);
    if (const auto* const answer = std::get_if<OptionsAnswer>(&parsed)) {
        ADD_FAILURE() << line << ": " << ToUtf8(answer->text);
        return {};
    }
    return std::get<Options>(parsed);
}

// The refusal's text holds `words`, the option's name mostly.
void ExpectRefused(const std::string& line, const std::string& words) {
    const auto parsed = Parse(line);
    const auto* const answer = std::get_if<OptionsAnswer>(&parsed);
    ASSERT_NE(answer, nullptr) << line;
    EXPECT_TRUE(answer->isError);
    EXPECT_NE(ToUtf8(answer->text).find(words), std::string::npos) << line << ": " << ToUtf8(answer->text);
}

// That every value arrives is seen in what the program does: tests/e2e.
TEST(Options, WhatIsSaidInFewWords) {
    EXPECT_TRUE(Accept("run --mode2 tap").UsesTwoInterfaces());
    EXPECT_TRUE(Accept("ping x --from 2").UsesTwoInterfaces());
    EXPECT_FALSE(Accept("ping x --from 1").UsesTwoInterfaces());
    EXPECT_FALSE(Accept("--library ./simple.so run").IsSimulated());
    EXPECT_EQ(Accept("run --no-socket-notify").socketNotify, false);
    EXPECT_EQ(Accept("--dll-buffer 1024 run --guest-mac 02:00:5e:80:00:04").dllBufferSize, 1048576U);
    EXPECT_EQ(Accept("ping x --count 0 --duration 2").count, 0U);
    for (const char* line : {"adapters --json", "--json adapters", "adapters --json -"}) {
        EXPECT_TRUE(Accept(line).json && Accept(line).jsonFile.empty());
    }
    // Debug takes its flags behind an equal sign only.
    EXPECT_EQ(Accept("ping --debug 10.0.0.1").target, L"10.0.0.1");
    EXPECT_FALSE(Accept("run --debug").debug->flags || Accept("run --debug=").debug->flags);
    EXPECT_EQ(Accept("run --debug=arp-read,contents").debug->flags, 0x40008000U);
    EXPECT_EQ(Accept("run --debug=0x80008081").debug->flags, 0x80008081U);
    EXPECT_EQ(Accept("run --debug=4294967295").debug->flags, 0xFFFFFFFFU);
    EXPECT_EQ(Accept("run --debug=all").debug->flags, 0xC000C0C0U);
    EXPECT_EQ(Accept("run --debug=none").debug->flags, 0U);
    for (const char* line : {"--help", "ping --help", "-h run", "--version"}) {
        const auto answer = std::get<OptionsAnswer>(Parse(line));
        EXPECT_FALSE(answer.isError);
        EXPECT_EQ(answer.text.find(L"Exit status") == std::wstring::npos, line == std::string("--version"));
    }
}

TEST(Options, NumbersOutsideTheirRangesAreRefused) {
    const struct {
        const char *option, *least, *most;
        std::vector<const char*> refused;
    } ranges[] = {
        {"--size", "8", "65507", {"7", "65508"}},
        {"--count", "1", "65535", {"0", "65536"}},
        {"--timeout", "0", "10000", {"10001", "-1"}},
        {"--delay", "0", "10000", {"10001"}},
        {"--from", "1", "2", {"0", "3"}},
        {"--driver-buffer", "64", "16384", {"63", "16385"}},
        {"--dll-buffer", "16", "1024", {"15", "1025"}},
        {"--duration", "0.001", "31622400", {"0", "-1", "nan", "inf", "31622401"}},
    };
    for (const auto& [option, least, most, refused] : ranges) {
        const std::string line = std::string("ping x ") + option + "=";
        Accept(line + least);
        Accept(line + most);
        std::vector<const char*> bad = {"",    "x",   "1x", "_9", "+9", "99999999999999999999",
                                        "9_9", "1e1", "0x9"};
        bad.insert(bad.end(), refused.begin(), refused.end());
        for (const char* value : bad) {
            ExpectRefused(line + value, option);
        }
    }
}

TEST(Options, WrongCommandLinesAreRefusedWithTheReason) {
    const std::pair<const char*, std::vector<const char*>> wrong[] = {
        {"report, adapters, run or ping", {""}},
        {"\"bogus\"", {"bogus"}},
        {"TARGET", {"ping", "ping ''"}},
        {"b", {"ping a b"}},
        {"--bogus", {"run --bogus"}},
        {"--count has no effect with the command run", {"run --count 1"}},
        {"has no effect", {"report --adapter eth0", "report --no-report", "adapters --output x"}},
        {"--size", {"ping x --size 9 --size 8"}},
        {"--guest-ip:", {"ping x --guest-ip 10.0.0"}},
        {"--guest-ip2", {"ping x --guest-ip2 10.0.0.256"}},
        {"--guest-mac", {"ping x --guest-mac 02-00-5E-80-00"}},
        {"--mode", {"ping x --mode tub"}},
        {"--gateway", {"ping x --gateway router"}},
        {"the value is empty", {"ping x --adapter ''", "--library '' run"}},
        {"--json FILE", {"ping x --json"}},
        {"name a file", {"ping x --json -", "ping x --output -"}},
        {"same file", {"ping x --output f --json f"}},
        {"--debug",
         {"run --debug=arp", "run --debug=arp-read,", "run --debug=4294967296", "run --debug=0x",
          "run --debug=-1"}}};
    for (const auto& [words, lines] : wrong) {
        for (const char* line : lines) {
            ExpectRefused(line, words);
        }
    }
}

} // namespace
} // namespace vnxtest
