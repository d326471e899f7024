// The texts of option values turned into values, with a sentence about what is wrong.
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

// The value of an option cannot be used; what() says which option and why, in UTF-8.
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

// "tun" or "tap", in whatever case; true is TAP.
bool ParseModeOption(std::string_view option, std::string_view text);

// A number (decimal, or hexadecimal behind "0x"), or names of debug messages with commas between.
std::uint32_t ParseDebugFlagsOption(std::string_view option, std::string_view text);

// The names that ParseDebugFlagsOption knows, with commas between.
std::string DebugFlagNames();

} // namespace vnxtest
