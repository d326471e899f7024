#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "wrenlib/debugger.h"
#include "wrenlib/errors.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"

namespace vnxtest {

const std::uint32_t kErrorInvalidParameter = EINVAL;
const std::uint32_t kErrorNotEnoughMemory = ENOMEM;

std::uint32_t LastError() {
    return static_cast<std::uint32_t>(errno);
}

void SetLastError(std::uint32_t code) {
    errno = static_cast<int>(code);
}

int ErrnoOfLastError(std::uint32_t code) {
    return static_cast<int>(code);
}

std::wstring StrError(int code) {
    const ErrorKeeper keeper;
    char buffer[256];
    // The GNU form: it returns the text, which may or may not stand in the buffer.
    const char* text = strerror_r(code, buffer, sizeof buffer);
    return FromUtf8(text);
}

std::wstring FormatLastError(std::uint32_t code) {
    return StrError(static_cast<int>(code));
}

bool IsDebuggerTraceOn() {
    static const bool on = std::getenv("VNXTEST_TRACE") != nullptr;
    return on;
}

void WriteToDebugger(std::wstring_view text) {
    const std::string line = ToUtf8(text);
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace vnxtest
