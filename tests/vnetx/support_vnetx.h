// What the tests of the library room need of the system and of the build.
#pragma once

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <list>
#include <string>

namespace vnxtest {

// Supplied by the build: where the test program and the shared libraries lie.
inline const char* const kProgramFolder = VNXTEST_PROGRAM_FOLDER;
inline const wchar_t* const kSharedLibraryName = L"" VNXTEST_SHARED_LIBRARY;
inline const wchar_t* const kLackingLibraryName = L"" VNXTEST_LACKING_LIBRARY;

// A folder that no other run uses, and that goes with the object.
struct TemporaryFolder {
    TemporaryFolder() { std::filesystem::create_directory(path); }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    const std::filesystem::path path =
        std::filesystem::temp_directory_path() /
        ("vnxtest-" + std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
};

// What is put into the environment stays there, and must stay in memory.
inline void SetEnvironment(const std::string& name, const std::string& value) {
    static std::list<std::string> kept;
    putenv(kept.emplace_back(name + "=" + value).data());
}

} // namespace vnxtest
