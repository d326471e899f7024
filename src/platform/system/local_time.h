// Calendar time in the local time zone.
#pragma once

#include <ctime>

namespace vnxtest {

// `time` in the local time zone; all zero on failure. Any thread.
std::tm LocalTime(std::time_t time);

} // namespace vnxtest
