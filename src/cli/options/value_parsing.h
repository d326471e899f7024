// Parsing of option values. Each function throws OptionError for a wrong text. Any thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "wrenlib/address.h"
#include "wrenlib/number_range.h"

namespace vnxtest {

// A value that cannot be used; what() names the option and the reason, in UTF-8.
class OptionError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A decimal number within `range`; `unit` follows the numbers in the message ("bytes").
std::uint32_t ParseNumberOption(std::string_view option, std::string_view text, const NumberRange& range,
                                std::string_view unit);

// Seconds, possibly with decimals: more than 0, at most a year.
std::chrono::milliseconds ParseSecondsOption(std::string_view option, std::string_view text);

Ipv4Address ParseIpOption(std::string_view option, std::string_view text);
MacAddress ParseMacOption(std::string_view option, std::string_view text);

// "tun" or "tap", in any case; true for TAP.
bool ParseModeOption(std::string_view option, std::string_view text);

// A number (decimal, or hexadecimal after "0x"), or names of debug messages with commas between.
std::uint32_t ParseDebugFlagsOption(std::string_view option, std::string_view text);

// The names that ParseDebugFlagsOption knows, with commas between.
std::string DebugFlagNames();

} // namespace vnxtest
