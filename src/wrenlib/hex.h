// Hexadecimal digits.
#pragma once

namespace vnxtest {

// 0 to 15, or -1 when `c` is no hexadecimal digit.
constexpr int HexDigitValue(wchar_t c) {
    if (c >= L'0' && c <= L'9') {
        return c - L'0';
    }
    if (c >= L'a' && c <= L'f') {
        return c - L'a' + 10;
    }
    if (c >= L'A' && c <= L'F') {
        return c - L'A' + 10;
    }
    return -1;
}

} // namespace vnxtest
