// The results of a run as JSON (docs/json.md describes every field).
#pragma once

#include <array>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "core/interface_info.h"
#include "ping/ping_test.h"

namespace vnxtest {

// Keeps its members in the order in which they were put in, so that a reader finds them where the
// description has them.
using Json = nlohmann::ordered_json;

// Goes up when a field changes its meaning or goes; new fields leave it.
inline constexpr int kJsonVersion = 1;

// What a run leaves to tell. Interfaces that were not used are null.
struct RunResults {
    std::wstring library;
    std::wstring whyNotThePackage; // of a library that was taken in its place
    std::wstring command;
    std::array<const INTERFACE_INFO*, 2> interfaces{};
    const PingTestResult* ping = nullptr; // null when no ping test was started
    int exitStatus = 0;
    std::wstring problem; // empty with status 0
};

// The whole text, UTF-8, ended by a line end.
std::string RunResultsJson(const RunResults& results);

// `value` as it is written: two blanks of indentation, ended by a line end.
std::string JsonText(const Json& value);

} // namespace vnxtest
