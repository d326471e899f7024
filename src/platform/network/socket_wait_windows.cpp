#include <winsock2.h>

#include "platform/network/socket_wait.h"

namespace vnxtest {

bool WaitUntilReadable(std::int32_t handle) {
    const auto socket = static_cast<SOCKET>(handle);
    fd_set readSet;
    FD_ZERO(&readSet);
    FD_SET(socket, &readSet);
    // After a failure the set is undefined.
    return select(0, &readSet, nullptr, nullptr, nullptr) > 0 && FD_ISSET(socket, &readSet) != 0;
}

void WakeSocketWaiter(std::int32_t handle) {
    closesocket(static_cast<SOCKET>(handle));
}

} // namespace vnxtest
