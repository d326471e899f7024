// Where the debug trace goes on this system (wrenlib/trace.h). Any thread.
#pragma once

#include <string_view>

namespace vnxtest {

// Somebody would read it.
bool IsDebuggerTraceOn();
void WriteToDebugger(std::wstring_view text);

} // namespace vnxtest
