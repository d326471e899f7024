// What the program says besides the document: everything here goes to standard error.
//
// Nothing here waits for a reader: a thread writes, which is given a moment so that what is said comes before
// what is said next on the same terminal.
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

// Writes "vnxtest-cli: ", the text and a line end; further lines of the text stand below as they are.
// Any thread.
void Complain(std::wstring_view text);

// Waits until everything is written; without a limit for as long as that takes. Any thread.
void AwaitComplaints(std::optional<std::chrono::milliseconds> limit);

// One line that overwrites itself while a long command works; an empty text removes it. Only shown to
// somebody who looks at a terminal and does not see the document there already. Main thread.
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
