#include <initializer_list>

#include <fcntl.h>
#include <unistd.h>

#include "platform/terminal.h"

namespace vnxtest {

const char* const kTextLineEnd = "\n";

bool IsTerminal(std::FILE* stream) {
    return isatty(fileno(stream)) == 1;
}

void PrepareTerminal() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0) {
            // Takes the lowest free number, which is this one; open for the direction nobody uses.
            [[maybe_unused]] const int taken =
                open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

std::vector<std::string> CommandLineWords(int argc, char** argv) {
    return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

} // namespace vnxtest
