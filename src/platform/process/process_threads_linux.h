// The threads of this process. Linux only.
#pragma once

#include <vector>

#include <sys/types.h>

namespace vnxtest {

// The ids of all threads of this process at the time of the call, among them those of libraries. From
// /proc/self/task; where that cannot be read (no /proc, no free descriptor), by asking the kernel of every
// number that a thread can have, which takes a second or two of a processor.
std::vector<pid_t> ThreadsOfThisProcess();

} // namespace vnxtest
