// Dates of the JSON: local time with its distance from UTC (RFC 3339).
#pragma once

#include <cstdint>
#include <string>

namespace vnxtest {

// "2026-03-01T09:05:07.012345+01:00" for a time in nanoseconds since 1970, rounded down to microseconds, in
// the local time zone. Any thread.
std::string DateText(std::int64_t unixNs);

} // namespace vnxtest
