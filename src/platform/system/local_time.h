// Calendar time in the local time zone.
#pragma once

#include <ctime>

namespace vnxtest {

// `time` in the local time zone (all zero when the system cannot say). Any thread.
std::tm LocalTime(std::time_t time);

} // namespace vnxtest
