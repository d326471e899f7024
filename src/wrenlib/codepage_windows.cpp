// The process code page on Windows is the ANSI code page (CP_ACP).
#include "wrenlib/text.h"

#include <windows.h>

namespace vnxtest {

std::string ToNarrow(std::wstring_view text) {
    if (text.empty()) {
        return {};
    }
    const int length = static_cast<int>(text.size());
    const int needed = WideCharToMultiByte(CP_ACP, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string out(static_cast<std::size_t>(needed > 0 ? needed : 0), '\0');
    WideCharToMultiByte(CP_ACP, 0, text.data(), length, out.data(), needed, nullptr, nullptr);
    return out;
}

std::wstring ToWide(std::string_view text) {
    if (text.empty()) {
        return {};
    }
    const int length = static_cast<int>(text.size());
    const int needed = MultiByteToWideChar(CP_ACP, 0, text.data(), length, nullptr, 0);
    std::wstring out(static_cast<std::size_t>(needed > 0 ? needed : 0), L'\0');
    MultiByteToWideChar(CP_ACP, 0, text.data(), length, out.data(), needed);
    return out;
}

} // namespace vnxtest
