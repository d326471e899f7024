// printf-style formatting of wide text ({fmt}, type safe). The formats are those of the C library with two
// differences: 64-bit numbers need no length prefix, and a wrong argument count or type yields the format
// text itself instead of undefined behaviour.
#pragma once

#include <string>
#include <string_view>

#include <fmt/printf.h>
#include <fmt/xchar.h>

namespace vnxtest {

using WideFormatArgs = fmt::basic_format_args<fmt::wprintf_context>;

// Formats `args` by `format`; any thread; does not throw for a bad format.
std::wstring FormatWide(std::wstring_view format, WideFormatArgs args);

// The same with direct arguments: Sprintf(L"errno=%d: %s", code, text).
template <typename... Args>
std::wstring Sprintf(std::wstring_view format, const Args&... args) {
    return FormatWide(format, fmt::make_format_args<fmt::wprintf_context>(args...));
}

} // namespace vnxtest
