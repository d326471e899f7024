// What is left to the terminal program once its guest runs: a filter of system calls in every thread.
//
// Code that a frame from the network could bring to do what it was not written for can then start nothing,
// open nothing and load nothing.
#pragma once

#include <string>

namespace vnxtest {

// This system has one. Linux: seccomp(2). Windows has nothing of the kind for a process that runs.
bool HasSandbox();

// To be called before there are threads: lets the filter's signal through, which the program's starter may
// have blocked, so that a call that is not allowed can be named.
void PrepareSandbox();

// What is left beyond reading, writing and asking about the adapter.
struct SandboxNeeds {
    bool everything = false; // every call; but nothing started from here ever has more rights (no_new_privs)
    bool files = false;      // to put open files in their places
};

// Puts every thread of this process, and all that they start, under the filter; the kernel does so for all of
// them or for none. Cannot be undone. A call that is not allowed ends the program with status 2 and a
// sentence that names the call. False, with a sentence in `problem`, when the system refuses: nothing has
// changed then. True on Windows without doing anything. One call at a time.
bool EnterSandbox(const SandboxNeeds& needs, std::wstring& problem);

} // namespace vnxtest
