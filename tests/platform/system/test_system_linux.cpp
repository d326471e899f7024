// What this system is: a module's file by its path, and a time by the zone.
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/system/local_time.h"
#include "platform/system/module_version.h"

namespace vnxtest {
namespace {

constexpr std::time_t kMoment = 1793416005; // Sat Oct 31 03:06:45 2026 UTC

class SystemTest : public testing::Test {
protected:
    SystemTest() { SetZone("UTC+2"); } // two hours west of Greenwich
    ~SystemTest() override { SetZone(nullptr); }

    static void SetZone(const char* zone) {
        zone != nullptr ? setenv("TZ", zone, 1) : unsetenv("TZ");
        tzset();
    }
};

TEST_F(SystemTest, AModuleIsDatedByItsFileInLocalTime) {
    const std::filesystem::path file =
        std::filesystem::temp_directory_path() / ("vnxtest-module-" + std::to_string(getpid()));
    std::ofstream(file) << "x";
    const timespec times[] = {{kMoment, 0}, {kMoment + 86400, 0}}; // the second: last written, on November 1
    ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
    const auto version = GetModuleVersion(file.wstring());
    std::filesystem::remove(file);
    ASSERT_TRUE(version);
    EXPECT_EQ(version->path, file.wstring());
    EXPECT_EQ(version->date, L"Nov  1 2026 01:06:45");
    EXPECT_FALSE(GetModuleVersion(file.wstring())) << "it is not there any more";
    EXPECT_FALSE(GetModuleVersion(L"libc.so.6")) << "no path";
}

TEST_F(SystemTest, ATimeIsThatOfTheZone) {
    const std::tm local = LocalTime(kMoment);
    EXPECT_EQ(
        (std::vector{local.tm_year, local.tm_mon, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec}),
        (std::vector{126, 9, 31, 1, 6, 45}));
}

} // namespace
} // namespace vnxtest
