#include "cli/options/value_parsing.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include <fmt/format.h>

#include "core/debug_flags.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

constexpr double kLongestSeconds = 366.0 * 24 * 3600;

[[noreturn]] void Refuse(std::string_view option, std::string_view text, const std::string& wanted) {
    throw OptionError(fmt::format("{}: \"{}\" is not {}.", option, text, wanted));
}

// The whole text as a number; nullopt if it is not one.
std::optional<std::uint32_t> WholeNumber(std::string_view text, int base) {
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    const bool whole = error == std::errc{} && end == text.data() + text.size();
    return whole ? std::optional(value) : std::nullopt;
}

} // namespace

std::uint32_t ParseNumberOption(std::string_view option, std::string_view text, const NumberRange& range,
                                std::string_view unit) {
    const std::optional<std::uint32_t> value = WholeNumber(text, 10);
    if (!value || !range.Holds(*value)) {
        const std::string_view blank = unit.empty() ? "" : " ";
        Refuse(option, text,
               fmt::format("a number from {} to {}{}{}", range.lowest, range.highest, blank, unit));
    }
    return *value;
}

std::chrono::milliseconds ParseSecondsOption(std::string_view option, std::string_view text) {
    double seconds = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), seconds, std::chars_format::fixed);
    const bool whole = error == std::errc{} && end == text.data() + text.size();
    if (!whole || !(seconds >= 0.001) || seconds > kLongestSeconds) {
        Refuse(option, text, fmt::format("a number of seconds from 0.001 to {:.0f}", kLongestSeconds));
    }
    return std::chrono::milliseconds(std::llround(seconds * 1000));
}

Ipv4Address ParseIpOption(std::string_view option, std::string_view text) {
    const std::optional<Ipv4Address> address = ParseIPAddress(FromUtf8(text));
    if (!address) {
        Refuse(option, text, "an IPv4 address such as 192.168.0.111");
    }
    return *address;
}

MacAddress ParseMacOption(std::string_view option, std::string_view text) {
    const std::optional<MacAddress> address = ParseMACAddress(FromUtf8(text));
    if (!address) {
        Refuse(option, text, "a MAC address such as 02-00-5E-80-00-04");
    }
    return *address;
}

bool ParseModeOption(std::string_view option, std::string_view text) {
    const std::wstring mode = FromUtf8(text);
    if (EqualNoCase(mode, L"tap")) {
        return true;
    }
    if (!EqualNoCase(mode, L"tun")) {
        Refuse(option, text, "\"tun\" or \"tap\"");
    }
    return false;
}

std::uint32_t ParseDebugFlagsOption(std::string_view option, std::string_view text) {
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const std::optional<std::uint32_t> number =
        hexadecimal ? WholeNumber(text.substr(2), 16) : WholeNumber(text, 10);
    if (number) {
        return *number;
    }
    std::uint32_t flags = 0;
    std::string_view rest = text;
    for (bool more = true; more;) {
        const std::size_t comma = rest.find(',');
        const std::string_view name = rest.substr(0, comma);
        const auto* const known = std::ranges::find(kDebugFlags, name, &DebugFlag::name);
        if (known == std::end(kDebugFlags)) {
            Refuse(option, text,
                   fmt::format("a number of 32 bits or a list of {} with commas between", DebugFlagNames()));
        }
        flags |= known->bits;
        more = comma != std::string_view::npos;
        rest.remove_prefix(more ? comma + 1 : 0);
    }
    return flags;
}

std::string DebugFlagNames() {
    std::string names;
    for (const DebugFlag& flag : kDebugFlags) {
        names += names.empty() ? "" : ", ";
        names += flag.name;
    }
    return names;
}

} // namespace vnxtest
