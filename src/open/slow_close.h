// Closes packet sockets beside the caller's work: closing one waits 8 to 25 ms for the kernel, and those that
// are closed at the same time share that wait.
#pragma once

#include <vector>

namespace vnxtest::slow_close {

// Closes the descriptors on threads of their own, which end by themselves; on the caller's if there are none
// to be had. The process waits for them before it ends. Any thread.
void Begin(std::vector<int> descriptors);

// Waits until all that was begun is closed.
void Await();

} // namespace vnxtest::slow_close
