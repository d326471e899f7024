#include "results/date_text.h"

#include <chrono>
#include <cstdlib>

#include <fmt/format.h>

#include "platform/system/local_time.h"

namespace vnxtest {

namespace {

// The seconds that the fields of `local` would be if they were UTC.
std::int64_t SecondsAsUtc(const std::tm& local) {
    using namespace std::chrono;
    const sys_days day = year(local.tm_year + 1900) / month(static_cast<unsigned>(local.tm_mon + 1)) /
                         static_cast<int>(local.tm_mday);
    const auto time =
        day.time_since_epoch() + hours(local.tm_hour) + minutes(local.tm_min) + seconds(local.tm_sec);
    return duration_cast<seconds>(time).count();
}

} // namespace

std::string DateText(std::int64_t unixNs) {
    using namespace std::chrono;
    const nanoseconds time(unixNs);
    const auto second = floor<seconds>(time);
    const std::tm local = LocalTime(static_cast<std::time_t>(second.count()));
    const std::int64_t east = (SecondsAsUtc(local) - second.count()) / 60; // minutes
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:06}{}{:02}:{:02}", local.tm_year + 1900,
                       local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                       duration_cast<microseconds>(time - second).count(), east < 0 ? '-' : '+',
                       std::abs(east) / 60, std::abs(east) % 60);
}

} // namespace vnxtest
