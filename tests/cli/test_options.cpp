#include <gtest/gtest.h>

#include "cli/options.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

using Arguments = std::vector<std::string>;

Options Accept(const Arguments& arguments) {
    const auto parsed = ParseOptions(arguments);
    if (const auto* const answer = std::get_if<OptionsAnswer>(&parsed)) {
        ADD_FAILURE() << ToUtf8(answer->text);
        return {};
    }
    return std::get<Options>(parsed);
}

// The refusal's text, which must name `option` and hold `words`.
void ExpectRefused(const Arguments& arguments, const std::string& words) {
    const auto parsed = ParseOptions(arguments);
    const auto* const answer = std::get_if<OptionsAnswer>(&parsed);
    ASSERT_NE(answer, nullptr) << words;
    EXPECT_TRUE(answer->isError);
    EXPECT_NE(ToUtf8(answer->text).find(words), std::string::npos) << ToUtf8(answer->text);
}

TEST(Options, StandBeforeAndAfterTheCommand) {
    for (const Arguments& arguments : {Arguments{"--library", "sim", "--count", "5", "ping", "host"},
                                       Arguments{"ping", "host", "--library", "sim", "--count", "5"},
                                       Arguments{"--count=5", "ping", "--library=sim", "host"}}) {
        const Options options = Accept(arguments);
        EXPECT_EQ(options.command, Command::Ping);
        EXPECT_EQ(options.library, L"sim");
        EXPECT_EQ(options.count, 5U);
        EXPECT_EQ(options.target, L"host");
    }
}

TEST(Options, WhatIsNotGivenIsAbsent) {
    const Options options = Accept({"run"});
    EXPECT_EQ(options.library, L"auto");
    EXPECT_FALSE(options.interface1.AnyGiven() || options.UsesTwoInterfaces());
    EXPECT_FALSE(options.count || options.dataSize || options.timeout || options.delay ||
                 options.fromInterface);
    EXPECT_FALSE(options.gateway || options.driverBufferSize || options.dllBufferSize || options.duration);
    EXPECT_FALSE(options.debug || options.socketNotify || options.outputFile || options.json);
    EXPECT_FALSE(options.proceed || options.noReport || options.save);
}

TEST(Options, EveryValueArrives) {
    const Options options = Accept({"ping",         "1.2.3.4",  "--adapter",       "eth0",
                                    "--guest-ip",   "10.0.0.5", "--guest-mac",     "02:00:5e:80:00:04",
                                    "--mode",       "TAP",      "--adapter2",      " 10.0.0.1 ",
                                    "--guest-ip2",  "10.0.0.6", "--mode2",         "tun",
                                    "--size",       "65507",    "--timeout",       "0",
                                    "--delay",      "10000",    "--from",          "2",
                                    "--gateway",    "10.0.0.9", "--driver-buffer", "64",
                                    "--dll-buffer", "1024",     "--duration",      "1.5",
                                    "--proceed",    "--save",   "--no-report",     "--socket-notify",
                                    "--output",     "a.txt",    "--json",          "b.json"});
    EXPECT_EQ(options.interface1.adapter, L"eth0");
    EXPECT_EQ(options.interface1.guestIp, L"10.0.0.5");
    EXPECT_EQ(options.interface1.guestMac, L"02-00-5E-80-00-04");
    EXPECT_EQ(options.interface1.tapMode, true);
    EXPECT_EQ(options.interface2.adapter, L"10.0.0.1");
    EXPECT_EQ(options.interface2.tapMode, false);
    EXPECT_TRUE(options.UsesTwoInterfaces());
    EXPECT_EQ(options.dataSize, 65507U);
    EXPECT_EQ(options.timeout, 0U);
    EXPECT_EQ(options.delay, 10000U);
    EXPECT_EQ(options.fromInterface, 2);
    EXPECT_EQ(options.gateway, Ipv4Address(10, 0, 0, 9));
    EXPECT_EQ(options.driverBufferSize, 65536U);
    EXPECT_EQ(options.dllBufferSize, 1048576U);
    EXPECT_EQ(options.duration, std::chrono::milliseconds(1500));
    EXPECT_TRUE(options.proceed && options.save && options.noReport && options.socketNotify == true);
    EXPECT_EQ(options.outputFile, "a.txt");
    EXPECT_EQ(options.jsonFile, "b.json");
}

TEST(Options, SecondInterfaceIsUsedWhenAnythingIsSaidOfIt) {
    EXPECT_TRUE(Accept({"run", "--mode2", "tap"}).UsesTwoInterfaces());
    EXPECT_TRUE(Accept({"ping", "x", "--from", "2"}).UsesTwoInterfaces());
    EXPECT_FALSE(Accept({"ping", "x", "--from", "1"}).UsesTwoInterfaces());
}

TEST(Options, DebugTakesItsFlagsBehindAnEqualSignOnly) {
    Options options = Accept({"ping", "--debug", "10.0.0.1"});
    EXPECT_EQ(options.target, L"10.0.0.1");
    EXPECT_TRUE(options.debug && options.debug->enabled && !options.debug->flags);
    EXPECT_EQ(Accept({"run", "--debug=arp-read,contents"}).debug->flags, 0x40008000U);
    EXPECT_EQ(Accept({"run", "--debug=0x80008081"}).debug->flags, 0x80008081U);
    EXPECT_EQ(Accept({"run", "--debug=4294967295"}).debug->flags, 0xFFFFFFFFU);
    EXPECT_EQ(Accept({"run", "--debug=all"}).debug->flags, 0xC000C0C0U);
    EXPECT_EQ(Accept({"run", "--debug=none"}).debug->flags, 0U);
    options = Accept({"run", "--no-debug", "--no-socket-notify"});
    EXPECT_TRUE(options.debug && !options.debug->enabled);
    EXPECT_EQ(options.socketNotify, false);
    for (const char* bad :
         {"--debug=arp", "--debug=", "--debug=arp-read,", "--debug=4294967296", "--debug=0x", "--debug=-1"}) {
        const auto parsed = ParseOptions({"run", bad});
        const bool isDefault = std::string_view(bad) == "--debug=";
        EXPECT_EQ(std::holds_alternative<OptionsAnswer>(parsed), !isDefault) << bad;
    }
}

TEST(Options, NumbersOutsideTheirRangesAreRefused) {
    const struct {
        const char* option;
        const char* least;
        const char* most;
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
    for (const auto& range : ranges) {
        for (const char* good : {range.least, range.most}) {
            Accept({"ping", "x", range.option, good});
        }
        for (const char* bad : range.refused) {
            ExpectRefused({"ping", "x", std::string(range.option) + "=" + bad}, range.option);
        }
        for (const char* bad : {"x", "1x", " 9", "+9", "99999999999999999999", "9 9", "1e1", "0x9"}) {
            ExpectRefused({"ping", "x", std::string(range.option) + "=" + bad}, range.option);
        }
    }
    EXPECT_EQ(Accept({"ping", "x", "--count", "0", "--duration", "2"}).count, 0U);
    ExpectRefused({"ping", "x", "--count", "0"}, "--duration");
}

TEST(Options, WrongCommandLinesAreRefusedWithTheReason) {
    ExpectRefused({}, "report, adapters, run or ping");
    ExpectRefused({"bogus"}, "report, adapters, run or ping");
    ExpectRefused({"ping"}, "TARGET");
    ExpectRefused({"ping", ""}, "TARGET");
    ExpectRefused({"ping", "a", "b"}, "b");
    ExpectRefused({"run", "--bogus"}, "--bogus");
    ExpectRefused({"run", "--count", "1"}, "--count has no effect with the command run");
    ExpectRefused({"report", "--adapter", "eth0"}, "--adapter has no effect");
    ExpectRefused({"report", "--no-report"}, "--no-report has no effect");
    ExpectRefused({"adapters", "--output", "x"}, "--output has no effect");
    ExpectRefused({"ping", "x", "--size", "9", "--size", "8"}, "--size");
    ExpectRefused({"ping", "x", "--guest-ip", "10.0.0"}, "--guest-ip");
    ExpectRefused({"ping", "x", "--guest-ip2", "10.0.0.256"}, "--guest-ip2");
    ExpectRefused({"ping", "x", "--guest-mac", "02-00-5E-80-00"}, "--guest-mac");
    ExpectRefused({"ping", "x", "--mode", "tub"}, "--mode");
    ExpectRefused({"ping", "x", "--gateway", "router"}, "--gateway");
    ExpectRefused({"ping", "x", "--adapter", ""}, "--adapter: the value is empty");
    ExpectRefused({"--library", "", "run"}, "--library");
    ExpectRefused({"ping", "x", "--json"}, "--json FILE");
    ExpectRefused({"ping", "x", "--json", "-"}, "name a file");
    ExpectRefused({"ping", "x", "--output", "-"}, "name a file");
    ExpectRefused({"ping", "x", "--output", "f", "--json", "f"}, "same file");
}

TEST(Options, JsonOfAdaptersNeedsNoFile) {
    for (const Arguments& arguments : {Arguments{"adapters", "--json"}, Arguments{"--json", "adapters"},
                                       Arguments{"adapters", "--json", "-"}}) {
        const Options options = Accept(arguments);
        EXPECT_EQ(options.command, Command::Adapters);
        EXPECT_TRUE(options.json && options.jsonFile.empty());
    }
    EXPECT_EQ(Accept({"adapters", "--json", "f"}).jsonFile, "f");
}

TEST(Options, HelpAndVersionAreNoErrors) {
    for (const Arguments& arguments :
         {Arguments{"--help"}, Arguments{"ping", "--help"}, Arguments{"-h", "run"}}) {
        const auto parsed = ParseOptions(arguments);
        const auto* const answer = std::get_if<OptionsAnswer>(&parsed);
        ASSERT_NE(answer, nullptr);
        EXPECT_FALSE(answer->isError);
        for (const wchar_t* word : {L"--save", L"--socket-notify", L"adapters", L"Exit status"}) {
            EXPECT_NE(answer->text.find(word), std::wstring::npos) << ToUtf8(word);
        }
    }
    const auto version = ParseOptions({"--version"});
    EXPECT_EQ(std::get<OptionsAnswer>(version).text.substr(0, 12), L"VNXTest64UD ");
}

TEST(Options, SimulatedLan) {
    EXPECT_TRUE(Accept({"--library", "sim", "run"}).IsSimulated());
    EXPECT_TRUE(Accept({"--library", "SIM:loss=5", "run"}).IsSimulated());
    EXPECT_FALSE(Accept({"--library", "./simple.so", "run"}).IsSimulated());
    EXPECT_FALSE(Accept({"run"}).IsSimulated());
}

} // namespace
} // namespace vnxtest
