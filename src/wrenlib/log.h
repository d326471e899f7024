// The program's one output routine, and the seam to the sink that takes its lines.
//
// LogMsg formats a line on the caller's thread and hands it to the sink, which belongs to a higher room.
// While the log is closed, lines go to the debug trace instead.
#pragma once

#include <cstdint>
#include <source_location>
#include <string_view>

#include "wrenlib/format.h"

namespace vnxtest {

// Takes lines (UTF-8, control characters made visible), on any thread.
class LogSink {
public:
    virtual ~LogSink() = default;
    virtual void TakeText(std::string_view text) = 0;
};

// Installs `sink`. User-interface thread; another one may be installed only after this one was removed, and
// the sink must outlive every thread that writes lines.
void InstallLogSink(LogSink& sink);
// No effect if another one is installed.
void RemoveLogSink(LogSink& sink);

// Open: lines go to the installed sink and are lost without one. Closed, as at the start: they go to the
// debug trace. Any thread.
void SetLogOpen(bool open);
bool IsLogOpen();

// Hands already formatted `text` (UTF-8) to the sink; lost without one. Any thread.
void HandToLog(std::string_view text);

// A line or several that are text already: UTF-8 without invisible characters, each ended by "\n". As LogMsg,
// for lines that are written with every packet.
void LogLine(std::string_view line);

// Puts a line of this thread off until this object ends, so that a frame need not wait for its text; or until
// just before the thread's next line, so that its lines keep their order. `write` is called once, with
// `about`.
class LineToFollow {
public:
    LineToFollow(void (*write)(std::uint32_t about), std::uint32_t about);
    ~LineToFollow();
    LineToFollow(const LineToFollow&) = delete;
    LineToFollow& operator=(const LineToFollow&) = delete;

private:
    void (*const m_write)(std::uint32_t about);
    const std::uint32_t m_about;
    friend void WriteLineToFollow();
};

void LogMsgV(std::wstring_view format, WideFormatArgs args);

// The one printf-style output routine of the program. Any thread; keeps errno and the last error.
template <typename... Args>
void LogMsg(std::wstring_view format, const Args&... args) {
    LogMsgV(format, fmt::make_format_args<fmt::wprintf_context>(args...));
}

// Internal consistency check: when `condition` is false, writes the assertion line with the
// caller's file and line, and carries on. Returns `condition`.
bool Verify(bool condition, std::source_location where = std::source_location::current());

} // namespace vnxtest
