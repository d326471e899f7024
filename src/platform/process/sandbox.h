// The filter of system calls of the terminal program with a running guest, in every thread (seccomp(2)).
//
// Code that an attacker's frame has taken over can then start no program, open no file and load no library.
#pragma once

#include "wrenlib/failure.h"

namespace vnxtest {

// True on Linux. Windows has no such filter for a running process.
bool HasSandbox();

// Called before there are threads: unblocks the filter's signal, which the parent process may have blocked,
// so that a forbidden call can be named.
void PrepareSandbox();

// The calls allowed besides reading, writing and queries about the adapter.
struct SandboxNeeds {
    bool everything = false; // every call; only no_new_privs is set
    bool files = false;      // to move open files into place
};

// Puts every thread of this process, and all that they start, under the filter; the kernel does so for all
// of them or for none. Cannot be undone. A forbidden call ends the program with status 2 and a sentence
// that names the call. A failure, whose text is whole sentences, if the system refuses; nothing has changed
// then. No effect on Windows. One call at a time.
Result<void> EnterSandbox(const SandboxNeeds& needs);

} // namespace vnxtest
