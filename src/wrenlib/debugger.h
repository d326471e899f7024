// The platform's destination of the debug trace (wrenlib/trace.h). Any thread.
#pragma once

#include <string_view>

namespace vnxtest {

// True if there is a reader.
bool IsDebuggerTraceOn();
void WriteToDebugger(std::wstring_view text);

} // namespace vnxtest
