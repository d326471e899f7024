#include <cerrno>
#include <sys/socket.h>
#include <unistd.h>

#include "vnetx/driver/notify_socket.h"

namespace vnxtest {

std::unique_ptr<NotifySocket> NotifySocket::Create() {
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, pair) != 0) {
        return nullptr;
    }
    return std::unique_ptr<NotifySocket>(new NotifySocket(pair[0], pair[1]));
}

NotifySocket::NotifySocket(std::intptr_t program, std::intptr_t library)
    : m_program(static_cast<std::int32_t>(program)), m_library(library), m_identity(0) {}

NotifySocket::~NotifySocket() {
    close(static_cast<int>(m_library));
    close(m_program);
}

void NotifySocket::Raise() {
    const int kept = errno;
    const char byte = 1;
    // The one byte always fits; after a shutdown there is no waiter left.
    [[maybe_unused]] const ssize_t sent =
        send(static_cast<int>(m_library), &byte, 1, MSG_NOSIGNAL | MSG_DONTWAIT);
    errno = kept;
}

void NotifySocket::Lower() {
    const int kept = errno;
    char bytes[16];
    [[maybe_unused]] const ssize_t taken = recv(m_program, bytes, sizeof bytes, MSG_DONTWAIT);
    errno = kept;
}

bool NotifySocket::IsShutDown() const {
    const int kept = errno;
    char byte;
    const bool shut = recv(static_cast<int>(m_library), &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
    errno = kept;
    return shut;
}

} // namespace vnxtest
