#include <poll.h>
#include <sys/socket.h>

#include "platform/network/socket_wait.h"

namespace vnxtest {

bool WaitUntilReadable(std::int32_t handle) {
    // poll, not select: the handle may be above FD_SETSIZE.
    pollfd wait{handle, POLLIN, 0};
    return poll(&wait, 1, -1) > 0 && (wait.revents & (POLLIN | POLLHUP | POLLERR)) != 0;
}

void WakeSocketWaiter(std::int32_t handle) {
    shutdown(handle, SHUT_RDWR);
}

} // namespace vnxtest
