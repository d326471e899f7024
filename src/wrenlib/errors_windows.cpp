#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>

#include <windows.h>

#include "wrenlib/debugger.h"
#include "wrenlib/errors.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"

namespace vnxtest {

const std::uint32_t kErrorInvalidParameter = ERROR_INVALID_PARAMETER;
const std::uint32_t kErrorNotEnoughMemory = ERROR_NOT_ENOUGH_MEMORY;

std::uint32_t LastError() {
    return ::GetLastError();
}

void SetLastError(std::uint32_t code) {
    ::SetLastError(code);
}

int ErrnoOfLastError(std::uint32_t) {
    return 0;
}

namespace {

// The C library of Windows has no texts for the errno values that POSIX added.
const wchar_t* AddedErrnoText(int code) {
    switch (code) {
    case EADDRINUSE:
        return L"Address already in use";
    case EADDRNOTAVAIL:
        return L"Cannot assign requested address";
    case EAFNOSUPPORT:
        return L"Address family not supported by protocol";
    case ECONNABORTED:
        return L"Software caused connection abort";
    case ECONNREFUSED:
        return L"Connection refused";
    case ECONNRESET:
        return L"Connection reset by peer";
    case EHOSTUNREACH:
        return L"No route to host";
    case EMSGSIZE:
        return L"Message too long";
    case ENETDOWN:
        return L"Network is down";
    case ENETUNREACH:
        return L"Network is unreachable";
    case ENOBUFS:
        return L"No buffer space available";
    case ENOTCONN:
        return L"Socket not connected";
    case ENOTSUP:
    case EOPNOTSUPP:
        return L"Operation not supported";
    case EOVERFLOW:
        return L"Value too large for defined data type";
    case EPROTO:
        return L"Protocol error";
    case ETIMEDOUT:
        return L"Connection timed out";
    case EWOULDBLOCK:
        return L"Resource temporarily unavailable";
    default:
        return nullptr;
    }
}

} // namespace

std::wstring StrError(int code) {
    const ErrorKeeper keeper;
    if (const wchar_t* text = AddedErrnoText(code)) {
        return text;
    }
    wchar_t buffer[256] = {};
    if (_wcserror_s(buffer, std::size(buffer), code) != 0 || buffer[0] == L'\0') {
        return Sprintf(L"Unknown error %d", code);
    }
    return buffer;
}

std::wstring FormatLastError(std::uint32_t code) {
    const ErrorKeeper keeper;
    wchar_t buffer[1024] = {};
    const DWORD length = FormatMessageW(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK, nullptr,
        code, 0, buffer, static_cast<DWORD>(std::size(buffer)), nullptr);
    const std::wstring text = TrimBlanks(std::wstring_view(buffer, length));
    return text.empty() ? Sprintf(L"Unknown error %u", code) : text;
}

// True with a debugger, or a program that shows debug output. Without either each text would cost the
// system an exception and have no reader.
bool IsDebuggerTraceOn() {
    if (IsDebuggerPresent() != FALSE) {
        return true;
    }
    const ErrorKeeper keeper;
    const HANDLE reader = OpenEventW(SYNCHRONIZE, FALSE, L"DBWIN_BUFFER_READY");
    if (reader == nullptr) {
        return false;
    }
    CloseHandle(reader);
    return true;
}

void WriteToDebugger(std::wstring_view text) {
    OutputDebugStringW(std::wstring(text).c_str());
}

} // namespace vnxtest
