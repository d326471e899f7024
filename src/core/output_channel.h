// The message output channel: the one road by which text reaches the document.
//
// LogMsg() formats a wide text; the interface library hands its own lines, narrow, to the
// debug-output callback. Both take the same way from there: each line is stamped with the time and
// queued in the output channel of the view, and OutputPending is posted when the queue was empty.
// The user-interface thread takes the whole queue at once. The queue holds UTF-8, which is what is
// shown and saved, so that a line is converted once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <source_location>
#include <string>
#include <string_view>

#include "core/view_port.h"
#include "vnetx/library.h"
#include "wrenlib/format.h"
#include "wrenlib/trace_feed.h"

namespace vnxtest {

// The queue of finished lines of one view. Each line carries its time stamp and ends in one "\n".
class OutputChannel {
public:
    explicit OutputChannel(ViewPort& view) : m_view(view) {}
    OutputChannel(const OutputChannel&) = delete;
    OutputChannel& operator=(const OutputChannel&) = delete;
    ~OutputChannel();

    // Makes this the process-wide output view: from now on text that reaches the callback is
    // queued here; before, it was dropped. User-interface thread. Another view may be attached
    // only after this one was detached or destroyed.
    void Attach();
    void Detach();

    // Appends finished lines (UTF-8) and posts OutputPending when the queue was empty. Any thread.
    // The lock is held for one append only. What waits is bounded: beyond kMostPending lines are left out
    // until the next TakePending.
    void Append(std::string_view lines);

    // Takes every pending line, in order, as one UTF-8 text, and leaves the queue empty. The lines
    // are handed to the debug trace on the way. A line stands for those that were left out. User-interface
    // thread, on OutputPending.
    std::string TakePending();

    // Lines that were left out so far.
    std::uint64_t LinesLeftOut();

    static constexpr std::size_t kMostPending = std::size_t{32} * 1024 * 1024;

private:
    ViewPort& m_view;
    std::mutex m_outputLock;
    // All lines in one text: a line costs its characters and nothing else, and is appended without
    // an allocation of its own.
    std::string m_pending;
    std::uint64_t m_leftOut = 0; // since the last TakePending
    std::uint64_t m_allLeftOut = 0;
    std::string m_firstLeftOut; // its beginning
    TraceFeed m_trace;
};

// The line that stands where `count` lines are missing, with the time stamp of the first of them,
// `firstMissing`.
std::string LeftOutMark(std::string_view firstMissing, std::uint64_t count);

// Registers the debug-output callback with `library`. Tried once per process; when the library
// refuses, LogMsg writes to the debug trace from then on. User-interface thread, before any
// interface thread exists.
void RegisterDebugOutput(VnetxLibrary& library);

// True when the library refused the callback: nothing that is written reaches the document.
bool IsDebugOutputRefused();

// Forgets the registration at the end of a library's life, so that the next one can be registered
// with. What the library says from then on is dropped; none of it is under way any more.
void UnregisterDebugOutput();

// The callback itself: `text` narrow, NUL-terminated, further arguments ignored. Any thread.
void DebugOutputCallback(const char* text, ...) noexcept;

// Splits `text` (UTF-8) into lines, each stamped with `stamp` ("hh:mm:ss.mmm "), trimmed of blanks
// at both ends and ended by one "\n", and appends them to `lines`. A text that ends in "\n\n" yields
// one extra line: the stamp without its trailing blank.
void StampLines(std::string_view text, std::string_view stamp, std::string& lines);

void LogMsgV(std::wstring_view format, WideFormatArgs args);

// The one printf-style output routine of the program. Any thread; keeps errno and the last error.
template <typename... Args>
void LogMsg(std::wstring_view format, const Args&... args) {
    LogMsgV(format, fmt::make_format_args<fmt::basic_printf_context_t<wchar_t>>(args...));
}

// Internal consistency check: when `condition` is false, writes the assertion line with the
// caller's file and line, and carries on. Returns `condition`.
bool Verify(bool condition, std::source_location where = std::source_location::current());

} // namespace vnxtest
