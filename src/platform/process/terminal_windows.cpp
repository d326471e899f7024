#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <span>

#include <io.h>
#include <shellapi.h>

#include "platform/process/terminal.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

constexpr unsigned kUsualWidth = 80;
constexpr unsigned kLeastWidth = 20;

HANDLE HandleOf(std::FILE* stream) {
    return reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
}

} // namespace

const char* const kTextLineEnd = "\r\n";

bool IsTerminal(std::FILE* stream) {
    return _isatty(_fileno(stream)) != 0;
}

// A process has one console.
bool IsSameTerminal(std::FILE* one, std::FILE* other) {
    return IsTerminal(one) && IsTerminal(other);
}

unsigned TerminalWidth(std::FILE* stream) {
    CONSOLE_SCREEN_BUFFER_INFO console{};
    const char* const columns = std::getenv("COLUMNS");
    unsigned width = columns != nullptr ? static_cast<unsigned>(std::strtoul(columns, nullptr, 10)) : 0;
    if (width == 0 && GetConsoleScreenBufferInfo(HandleOf(stream), &console) != FALSE) {
        width = static_cast<unsigned>(console.srWindow.Right - console.srWindow.Left + 1);
    }
    return width == 0 ? kUsualWidth : std::max(width, kLeastWidth);
}

// Sequences of characters for colours: since Windows 10, if they are switched on.
bool MayColour(std::FILE* stream) {
    const char* const unwanted = std::getenv("NO_COLOR");
    if (unwanted != nullptr && *unwanted != '\0') {
        return false;
    }
    DWORD mode = 0;
    return GetConsoleMode(HandleOf(stream), &mode) != FALSE &&
           SetConsoleMode(HandleOf(stream), mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != FALSE;
}

bool IsOrdinaryFile(std::FILE* stream) {
    return GetFileType(HandleOf(stream)) == FILE_TYPE_DISK;
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

// Of the system, for in those of main() the letters that the code page lacks are replaced.
std::vector<std::string> CommandLineWords(int /*argc*/, char** /*argv*/) {
    int count = 0;
    const std::unique_ptr<LPWSTR, decltype(&LocalFree)> list(CommandLineToArgvW(GetCommandLineW(), &count),
                                                             &LocalFree);
    if (list == nullptr) {
        throw std::bad_alloc();
    }
    std::vector<std::string> words;
    for (const LPWSTR word : std::span(list.get(), static_cast<std::size_t>(count)).subspan(1)) {
        words.push_back(ToUtf8(word));
    }
    return words;
}

} // namespace vnxtest
