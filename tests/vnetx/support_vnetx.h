// What the tests of the library room need of the system and of the build.
#pragma once

#include <chrono>
#include <cstdlib>
#include <string>

namespace vnxtest {

// Supplied by the build: where the test program and the shared libraries lie.
inline const char* const kProgramFolder = VNXTEST_PROGRAM_FOLDER;
inline const wchar_t* const kSharedLibraryName = L"" VNXTEST_SHARED_LIBRARY;
inline const wchar_t* const kLackingLibraryName = L"" VNXTEST_LACKING_LIBRARY;

// A name that no other run uses.
inline std::string UniqueName(const std::string& stem) {
    return stem + "-" + std::to_string(std::chrono::steady_clock::now().time_since_epoch().count());
}

inline void SetEnvironment(const char* name, const char* value) {
    setenv(name, value, 1);
}

} // namespace vnxtest
