#include <cerrno>
#include <csignal>
#include <initializer_list>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/process/terminal.h"

namespace vnxtest {

const char* const kTextLineEnd = "\n";

bool IsTerminal(std::FILE* stream) {
    return isatty(fileno(stream)) == 1;
}

bool IsOrdinaryFile(std::FILE* stream) {
    struct stat status {};
    return fstat(fileno(stream), &status) == 0 && S_ISREG(status.st_mode);
}

bool WriteAll(std::FILE* stream, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(fileno(stream), bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN) {
            // Another program with the same terminal or pipe may have made it non-blocking.
            pollfd wait{fileno(stream), POLLOUT, 0};
            poll(&wait, 1, -1);
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

void PrepareTerminal() {
    // A write beyond the limit (ulimit -f) then fails, and is reported as any other failure.
    std::signal(SIGXFSZ, SIG_IGN);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0) {
            // Takes the lowest free number, which is this one; opened for the unused direction.
            [[maybe_unused]] const int taken =
                open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

std::vector<std::string> CommandLineWords(int argc, char** argv) {
    return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

} // namespace vnxtest
