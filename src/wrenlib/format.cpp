#include "wrenlib/format.h"

#include <exception>

namespace vnxtest {

std::wstring FormatWide(std::wstring_view format, WideFormatArgs args) {
    try {
        return fmt::vsprintf(fmt::basic_string_view<wchar_t>(format.data(), format.size()), args);
    } catch (const std::exception&) {
        // A format that does not fit its arguments is a fault of the program; the text must still be seen.
        return std::wstring(format);
    }
}

} // namespace vnxtest
