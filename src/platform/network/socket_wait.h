// Waiting on a library handle that is a socket (socket-notify mode), and waking the waiter.
#pragma once

#include <cstdint>

namespace vnxtest {

// Waits without limit until the socket is readable or has been shut down. True if it is readable; false if
// the wait failed or was interrupted (the caller then checks its stop event).
bool WaitUntilReadable(std::int32_t handle);

// Wakes the waiter for good, from another thread: closesocket on Windows, where that ends a select; a
// shutdown in both directions on Linux, where closing would not wake it. The library's handle must still be
// closed through the library.
void WakeSocketWaiter(std::int32_t handle);

} // namespace vnxtest
