// Local time as the system has it.
#include "platform/system/local_time.h"

#include <cstdlib>

#include <windows.h>

#include <gtest/gtest.h>

namespace vnxtest {
namespace {

// A time zone of the C library's, which it keeps, stands for one that the system no longer has.
TEST(LocalTime, IsTheSystemsNotTheCLibrarys) {
    _putenv("TZ=ABC-13:37");
    _tzset();
    SYSTEMTIME system{};
    std::tm local{};
    do { // the two looks at the clock fall into one second
        const std::time_t now = std::time(nullptr);
        local = LocalTime(now);
        GetLocalTime(&system);
    } while (local.tm_sec != system.wSecond);
    EXPECT_EQ(local.tm_hour, system.wHour);
    EXPECT_EQ(local.tm_min, system.wMinute);
    EXPECT_EQ(local.tm_mday, system.wDay);
    EXPECT_EQ(local.tm_mon + 1, system.wMonth);
    EXPECT_EQ(local.tm_year + 1900, system.wYear);
    _putenv("TZ=");
    _tzset();
}

} // namespace
} // namespace vnxtest
