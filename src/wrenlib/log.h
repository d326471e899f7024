// The program's one output routine, and the seam to whoever takes its lines.
//
// LogMsg formats a line where it is said and hands it over; who shows it is above all rooms that speak. While
// the log is closed, lines go to the debug trace instead.
#pragma once

#include <source_location>
#include <string_view>

#include "wrenlib/format.h"

namespace vnxtest {

// Takes lines (UTF-8, control characters made visible), of any thread.
class LogSink {
public:
    virtual ~LogSink() = default;
    virtual void TakeText(std::string_view text) = 0;
};

// Makes `sink` the one that takes the lines. User-interface thread; another one may be installed only after
// this one was removed.
void InstallLogSink(LogSink& sink);
// Does nothing when another one is installed.
void RemoveLogSink(LogSink& sink);

// From now on lines go to the sink that is installed (they are lost while there is none), or to the debug
// trace. It begins closed. Any thread.
void SetLogOpen(bool open);
bool IsLogOpen();

// Hands `text` (UTF-8) to the sink, for one that formats its own lines; lost while there is none. Any thread.
void HandToLog(std::string_view text);

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
