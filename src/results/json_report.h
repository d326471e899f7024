// The results of a run as JSON (docs/json.md describes every field).
#pragma once

#include <array>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "advice/finding.h"
#include "core/interface_info.h"
#include "ping/ping_test.h"

namespace vnxtest {

// Keeps its members in the order of insertion, which is that of the description.
using Json = nlohmann::ordered_json;

// Increases if a field changes its meaning or is removed; not for new fields.
inline constexpr int kJsonVersion = 1;

// What became of a capture.
struct CaptureResult {
    std::wstring file; // as it was named; "-": standard output
    std::uint64_t frames = 0;
    std::uint64_t dropped = 0; // missing, for the file was not written fast enough
    bool complete = false;     // but for those: it did not end before its time
};

// The interfaces of a run, of which unused ones are null, as they stand in its results.
Json InterfacesJson(const std::array<const INTERFACE_INFO*, 2>& interfaces);

// The results of a run.
struct RunResults {
    std::wstring library;
    std::wstring whyNotThePackage; // of a library that was taken in its place
    std::wstring command;
    Json interfaces = Json::array();      // InterfacesJson()
    const PingTestResult* ping = nullptr; // null if no ping test was started
    int exitStatus = 0;
    std::wstring problem;         // empty with status 0
    std::int64_t beganUnixNs = 0; // nanoseconds since 1970
    std::int64_t endedUnixNs = 0;
    Findings advice;
    std::optional<CaptureResult> capture; // nullopt if none was asked for
};

// Begins the sentences about results that cannot be saved.
inline constexpr const wchar_t* kResultsCannotBeSaved = L"The results cannot be saved: ";

// The whole text, UTF-8, ended by a line end.
std::string RunResultsJson(const RunResults& results);

// The text of `value`: indented by two blanks, ended by a line end, UTF-8.
std::string JsonText(const Json& value);

} // namespace vnxtest
