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

// One line that overwrites itself during a long command; an empty text removes it. Shown only if standard
// error is a terminal and the document does not go to one. Main thread.
class Progress {
public:
    Progress();
    ~Progress() { Show(L""); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    bool IsOn() const { return m_on; }
    void Show(const std::wstring& text);

private:
    bool m_on;
    std::size_t m_shown = 0;
};

} // namespace vnxtest
