// Waiting on a library handle that is a socket (socket-notify mode), and waking the waiter.
#pragma once

#include <cstdint>

namespace vnxtest {

// Waits without limit until the socket can be read or has been shut down. True when it is ready to
// be read; false when the wait failed or was broken off (the caller looks at its stop signal).
bool WaitUntilReadable(std::int32_t handle);

// Wakes whoever waits for the socket, for good: closesocket on Windows, where that ends a select;
// a shutdown in both directions on Linux, where closing would leave the waiter asleep. The library
// handle itself stays to be closed through the library.
void WakeSocketWaiter(std::int32_t handle);

} // namespace vnxtest
