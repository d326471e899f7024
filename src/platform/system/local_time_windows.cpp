#include <windows.h>

#include "platform/system/local_time.h"

namespace vnxtest {

// By the system, whose time zone may change while the program runs; the C library keeps that of the
// program's start.
std::tm LocalTime(std::time_t time) {
    constexpr ULONGLONG kTicksPerSecond = 10'000'000;
    constexpr ULONGLONG kSecondsFrom1601To1970 = 11'644'473'600;
    ULARGE_INTEGER ticks{};
    ticks.QuadPart = (static_cast<ULONGLONG>(time) + kSecondsFrom1601To1970) * kTicksPerSecond;
    const FILETIME fileTime = {ticks.LowPart, ticks.HighPart};
    SYSTEMTIME utc{};
    SYSTEMTIME system{};
    std::tm local{};
    if (FileTimeToSystemTime(&fileTime, &utc) != FALSE &&
        SystemTimeToTzSpecificLocalTime(nullptr, &utc, &system) != FALSE) {
        local.tm_sec = system.wSecond;
        local.tm_min = system.wMinute;
        local.tm_hour = system.wHour;
        local.tm_mday = system.wDay;
        local.tm_mon = system.wMonth - 1;
        local.tm_year = system.wYear - 1900;
        local.tm_wday = system.wDayOfWeek;
        local.tm_isdst = -1; // not asked
    }
    return local;
}

} // namespace vnxtest
