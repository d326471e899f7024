// A line on the terminal that is rewritten in place below what the program writes there, and gone at the end.
//
// Text that is written meanwhile takes the line away and puts it back, in one write, so that the two never
// stand on one line: what writes to this terminal writes through WriteAroundLiveLine(). The line is rewritten
// by the thread of standard error; nobody else waits for the terminal.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace vnxtest {

class LiveLine {
public:
    // `wanted` and a terminal on standard error: without them nothing is ever shown. Main thread.
    explicit LiveLine(bool wanted);
    ~LiveLine() { Hide(); }
    LiveLine(const LiveLine&) = delete;
    LiveLine& operator=(const LiveLine&) = delete;

    bool IsOn() const { return m_on; }
    // ASCII; what is wider than the terminal is cut off. Returns at once. Main thread.
    void Show(std::string text);
    // Takes any line away, for good until the next Show(). Returns at once. Any thread.
    static void Hide();

private:
    const bool m_on;
};

// Writes as WriteAll() does, and keeps a live line below the text. Any thread; waits for others that write.
bool WriteAroundLiveLine(std::FILE* stream, std::string_view text);

// The text that only rewrites the live line.
inline constexpr std::string_view kRewriteLiveLine = "\r";

} // namespace vnxtest
