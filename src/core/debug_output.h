// Takes the interface library's own lines to the log.
//
// The callback has no user data, so the registration is process-wide. The owner of the library registers,
// and unregisters before the library is destroyed.
#pragma once

#include "vnetx/library.h"

namespace vnxtest {

// Registers the debug-output callback with `library` and opens the log; if the library refuses, closes it
// again. No effect until UnregisterDebugOutput() once it was called. User-interface thread, before any
// interface thread exists.
void RegisterDebugOutput(VnetxLibrary& library);

// True if the library refused the callback: no line of LogMsg reaches the document.
bool IsDebugOutputRefused();

// Ends the registration and closes the log, so that another library can be registered with. Waits for the
// callbacks that are running; later lines of the library are dropped. User-interface thread.
void UnregisterDebugOutput();

// The callback itself: `text` narrow, NUL-terminated, further arguments ignored. Any thread.
void DebugOutputCallback(const char* text, ...) noexcept;

} // namespace vnxtest
