// The debug trace: lines for the developer, never for the document. On Windows they go to the
// debugger (OutputDebugString); elsewhere to standard error when VNXTEST_TRACE is set in the
// environment.
#pragma once

#include <functional>
#include <string_view>

#include "wrenlib/format.h"

namespace vnxtest {

// Writes one formatted wide text to the debug trace. Any thread; errno and the last error stay.
void WrenLibAfxTraceV(std::wstring_view format, WideFormatArgs args);

template <typename... Args>
void WrenLibAfxTrace(std::wstring_view format, const Args&... args) {
    WrenLibAfxTraceV(format, fmt::make_format_args<fmt::wprintf_context>(args...));
}

// True if the trace has a destination; a caller with many lines need not format them otherwise.
bool IsTraceOn();

// Sends the trace to `sink` instead (null: to the platform's destination). For tests. The sink is called on
// the tracing thread, under a lock; once this returns the previous sink is not called any more.
void SetTraceSink(std::function<void(std::wstring_view)> sink);

} // namespace vnxtest
