// System calls on the road of the packets without the C library's cancellation points: these take two locked
// instructions in a process of several threads, and no thread of the program is ever cancelled
// (pthread_cancel(3)). Arguments and results are those of send(2), read(2) and write(2). Any thread.
#pragma once

#include <cstddef>

#include <sys/syscall.h>
#include <unistd.h>

namespace vnxtest::uncancelled {

inline ssize_t Send(int socket, const void* bytes, std::size_t length, int flags) {
    return syscall(SYS_sendto, socket, bytes, length, flags, nullptr, 0);
}

inline ssize_t Read(int descriptor, void* bytes, std::size_t length) {
    return syscall(SYS_read, descriptor, bytes, length);
}

inline ssize_t Write(int descriptor, const void* bytes, std::size_t length) {
    return syscall(SYS_write, descriptor, bytes, length);
}

} // namespace vnxtest::uncancelled
