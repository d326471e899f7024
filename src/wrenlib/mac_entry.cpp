#include "wrenlib/mac_entry.h"

#include "wrenlib/hex.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {
constexpr std::size_t kMaxLength = 17;
bool IsSeparator(wchar_t c) {
    return c == L'-' || c == L':';
}
} // namespace

MacEntryResult FilterMACAddressInput(std::wstring_view text, std::wstring_view lastAccepted) {
    MacEntryResult rejected{false, true, std::wstring(lastAccepted)};
    std::wstring value = TrimBlanks(text);
    if (value.empty()) {
        return {true, false, {}};
    }
    if (value.size() > kMaxLength) {
        return rejected;
    }
    wchar_t separator = L'\0';
    for (std::size_t i = 0; i < value.size(); ++i) {
        const wchar_t c = value[i];
        if ((i + 1) % 3 != 0) {
            if (HexDigitValue(c) < 0) {
                return rejected;
            }
            continue;
        }
        const bool last = i + 1 == value.size();
        if (last && HexDigitValue(c) >= 0) {
            value.insert(i, 1, separator != L'\0' ? separator : L'-');
            return {true, true, std::move(value)};
        }
        if (separator != L'\0' ? c != separator : !IsSeparator(c)) {
            return rejected;
        }
        separator = c;
    }
    return {true, false, std::move(value)};
}

} // namespace vnxtest
