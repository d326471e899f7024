// The threads of this process. Linux only.
#pragma once

#include <vector>

#include <sys/types.h>

namespace vnxtest {

// The ids of all threads of this process at the time of the call, those of libraries included. From
// /proc/self/task; if that cannot be read (no /proc, no free descriptor), by probing every possible thread
// id, which takes a second or two of processor time. Any thread.
std::vector<pid_t> ThreadsOfThisProcess();

} // namespace vnxtest
