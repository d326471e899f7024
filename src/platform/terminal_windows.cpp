#include <windows.h>

#include <io.h>

#include "platform/terminal.h"
#include "wrenlib/text.h"

namespace vnxtest {

const char* const kTextLineEnd = "\r\n";

bool IsTerminal(std::FILE* stream) {
    return _isatty(_fileno(stream)) != 0;
}

void PrepareTerminal() {
    // The code page is the console's, which outlives the program.
    static const struct Before {
        const UINT codePage = GetConsoleOutputCP();
        ~Before() { SetConsoleOutputCP(codePage); }
    } before;
    SetConsoleOutputCP(CP_UTF8);
}

std::vector<std::string> CommandLineWords(int argc, char** argv) {
    std::vector<std::string> words;
    for (int i = 1; i < argc; ++i) {
        words.push_back(ToUtf8(ToWide(argv[i])));
    }
    return words;
}

} // namespace vnxtest
