#include "wrenlib/log.h"

#include <atomic>
#include <utility>

#include "wrenlib/errors.h"
#include "wrenlib/text.h"
#include "wrenlib/trace.h"
#include "wrenlib/visible_text.h"

namespace vnxtest {

namespace {

// Process-wide: a line may come from any thread and any room. Installed by the owner of the document.
std::atomic<LogSink*> g_sink{nullptr};
std::atomic<bool> g_open{false};

thread_local LineToFollow* t_lineToFollow = nullptr;

} // namespace

void WriteLineToFollow() {
    if (LineToFollow* const line = std::exchange(t_lineToFollow, nullptr)) {
        line->m_write(line->m_about);
    }
}

LineToFollow::LineToFollow(void (*write)(std::uint32_t about), std::uint32_t about)
    : m_write(write), m_about(about) {
    WriteLineToFollow();
    t_lineToFollow = this;
}

LineToFollow::~LineToFollow() {
    if (t_lineToFollow == this) {
        WriteLineToFollow();
    }
}

void InstallLogSink(LogSink& sink) {
    g_sink.store(&sink, std::memory_order_release);
}

void RemoveLogSink(LogSink& sink) {
    LogSink* expected = &sink;
    g_sink.compare_exchange_strong(expected, nullptr);
}

void SetLogOpen(bool open) {
    g_open.store(open, std::memory_order_release);
}

bool IsLogOpen() {
    return g_open.load(std::memory_order_acquire);
}

void HandToLog(std::string_view text) {
    WriteLineToFollow();
    if (LogSink* const sink = g_sink.load(std::memory_order_acquire)) {
        sink->TakeText(text);
    }
}

void LogLine(std::string_view line) {
    const ErrorKeeper keeper;
    WriteLineToFollow();
    if (IsLogOpen()) {
        HandToLog(line);
    } else {
        WrenLibAfxTrace(L"%s", FromUtf8(line));
    }
}

void LogMsgV(std::wstring_view format, WideFormatArgs args) {
    const ErrorKeeper keeper;
    LogLine(VisibleUtf8(FormatWide(format, args)));
}

bool Verify(bool condition, std::source_location where) {
    if (!condition) {
        std::string_view file = where.file_name();
        file.remove_prefix(file.find_last_of("/\\") + 1);
        LogMsg(L"%s(%d): ** Assertion Failed **\n", FromUtf8(file), where.line());
    }
    return condition;
}

} // namespace vnxtest
