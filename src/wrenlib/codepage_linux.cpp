// The process code page on Linux is UTF-8, whatever the locale says: the program's narrow texts
// are addresses, device names and messages that it stores and shows as UTF-8.
#include "wrenlib/text.h"

namespace vnxtest {

std::string ToNarrow(std::wstring_view text) {
    return ToUtf8(text);
}

std::wstring ToWide(std::string_view text) {
    return FromUtf8(text);
}

} // namespace vnxtest
