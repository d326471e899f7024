// The interface library's own lines, on their way to the log.
//
// The library calls back without a word about whom: so what is registered is the process's. Whoever opens a
// library registers, and ends the registration before the library goes.
#pragma once

#include "vnetx/library.h"

namespace vnxtest {

// Registers the debug-output callback with `library` and opens the log. Tried once per process; when the
// library refuses, the log stays closed. User-interface thread, before any interface thread exists.
void RegisterDebugOutput(VnetxLibrary& library);

// True when the library refused the callback: nothing that is written reaches the document.
bool IsDebugOutputRefused();

// Forgets the registration at the end of a library's life, so that the next one can be registered
// with. What the library says from then on is dropped; none of it is under way any more.
void UnregisterDebugOutput();

// The callback itself: `text` narrow, NUL-terminated, further arguments ignored. Any thread.
void DebugOutputCallback(const char* text, ...) noexcept;

} // namespace vnxtest
