#include "platform/process/process_threads_linux.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <string>

#include <sys/syscall.h>
#include <unistd.h>

namespace vnxtest {

namespace {

// The kernel's limit (PID_MAX_LIMIT); the lower one of this system is known from /proc only.
constexpr pid_t kLargestId = 4 * 1024 * 1024;

// Empty if it cannot be read whole.
std::vector<pid_t> ThreadsByProc() {
    std::vector<pid_t> threads;
    std::error_code error;
    std::filesystem::directory_iterator entry("/proc/self/task", error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::string name = entry->path().filename().native();
        pid_t id = 0;
        if (std::from_chars(name.data(), name.data() + name.size(), id).ec != std::errc()) {
            return {};
        }
        threads.push_back(id);
    }
    return error ? std::vector<pid_t>() : threads;
}

std::vector<pid_t> ThreadsByNumber() {
    std::vector<pid_t> threads;
    const pid_t process = getpid();
    for (pid_t id = 1; id <= kLargestId; ++id) {
        if (syscall(SYS_tgkill, process, id, 0) == 0) { // signal 0: only checks that it exists
            threads.push_back(id);
        }
    }
    return threads;
}

} // namespace

std::vector<pid_t> ThreadsOfThisProcess() {
    std::vector<pid_t> threads = ThreadsByProc();
    // A /proc of another process namespace lacks the calling thread.
    const bool complete = std::find(threads.begin(), threads.end(), gettid()) != threads.end();
    return complete ? threads : ThreadsByNumber();
}

} // namespace vnxtest
