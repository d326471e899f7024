#include <windows.h>

#include <io.h>

#include "platform/process/terminal.h"
#include "wrenlib/text.h"

namespace vnxtest {

const char* const kTextLineEnd = "\r\n";

bool IsTerminal(std::FILE* stream) {
    return _isatty(_fileno(stream)) != 0;
}

bool IsOrdinaryFile(std::FILE* stream) {
    return GetFileType(reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)))) == FILE_TYPE_DISK;
}

bool WriteAll(std::FILE* stream, std::string_view bytes) {
    constexpr std::size_t kPiece = std::size_t{16} * 1024; // a console takes no more at once
    while (!bytes.empty()) {
        const std::size_t length = bytes.size() < kPiece ? bytes.size() : kPiece;
        const int written = _write(_fileno(stream), bytes.data(), static_cast<unsigned>(length));
        if (written < 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

void PrepareTerminal() {
    // Restored at the end: the code page belongs to the console, which outlives the program.
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
