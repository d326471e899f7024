#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <initializer_list>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/process/terminal.h"

namespace vnxtest {

namespace {
constexpr unsigned kUsualWidth = 80;
constexpr unsigned kLeastWidth = 20;
} // namespace

const char* const kTextLineEnd = "\n";

bool IsTerminal(std::FILE* stream) {
    return isatty(fileno(stream)) == 1;
}

bool IsSameTerminal(std::FILE* one, std::FILE* other) {
    struct stat first {};
    struct stat second {};
    return IsTerminal(one) && IsTerminal(other) && fstat(fileno(one), &first) == 0 &&
           fstat(fileno(other), &second) == 0 && first.st_rdev == second.st_rdev;
}

unsigned TerminalWidth(std::FILE* stream) {
    winsize size{};
    const char* const columns = std::getenv("COLUMNS");
    unsigned width = columns != nullptr ? static_cast<unsigned>(std::strtoul(columns, nullptr, 10)) : 0;
    if (width == 0 && ioctl(fileno(stream), TIOCGWINSZ, &size) == 0) {
        width = size.ws_col;
    }
    return width == 0 ? kUsualWidth : std::max(width, kLeastWidth);
}

bool MayColour(std::FILE* stream) {
    const char* const unwanted = std::getenv("NO_COLOR");
    const char* const kind = std::getenv("TERM");
    const bool isMinded = unwanted != nullptr && *unwanted != '\0';
    return !isMinded && IsTerminal(stream) && kind != nullptr && std::string_view(kind) != "dumb";
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
