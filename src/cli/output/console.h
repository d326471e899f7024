// The program's messages beside the document, on standard error.
//
// A thread writes them, so that a missing reader does not block the caller; it waits 50 ms at most, so that
// messages keep their place among other output of the same terminal. Without a thread the caller writes.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace vnxtest {

// The exit statuses.
enum ExitStatus : int {
    kExitSuccess = 0,
    kExitPingsLost = 1,
    kExitFailure = 2,
};

// Writes "vnxtest-cli: ", the text and a line end; further lines of the text follow unchanged. Any thread.
void Complain(std::wstring_view text);

// Waits until everything is written, at most `limit` (nullopt: without limit). Any thread.
void AwaitComplaints(std::optional<std::chrono::milliseconds> limit);

// How a run ended: its colour on a terminal that shows any.
enum class Verdict { Good, Bad };

// Complain() for the line at the end of a run. Any thread.
void TellVerdict(std::wstring_view text, Verdict verdict);

// Lets the thread of standard error rewrite the live line, unless it is busy. Any thread; returns at once.
void RewriteLiveLine();

} // namespace vnxtest
