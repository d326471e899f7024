// Text helpers: blanks, and the conversions between wide text (what the program works with),
// narrow text in the process code page (what the interface library takes) and UTF-8 (what is
// stored). On Linux the process code page is UTF-8; on Windows it is the ANSI code page.
//
// All functions may run on any thread and never fail: a character that cannot be converted becomes the
// replacement character of the target encoding.
#pragma once

#include <string>
#include <string_view>

namespace vnxtest {

// `text` without the blanks (space, tab, carriage return, line feed) at both of its ends.
std::wstring TrimBlanks(std::wstring_view text);

// `text` with a full stop at its end, unless it has one.
std::wstring EndSentence(const std::wstring& text);

// Wide text as narrow text in the process code page, and back.
std::string ToNarrow(std::wstring_view text);
std::wstring ToWide(std::string_view text);

// Wide text as UTF-8 (RFC 3629), and back. A byte sequence that is not UTF-8 becomes U+FFFD.
std::string ToUtf8(std::wstring_view text);
std::wstring FromUtf8(std::string_view text);

// True if both texts are equal, ignoring the case of ASCII letters.
bool EqualNoCase(std::wstring_view left, std::wstring_view right);

} // namespace vnxtest
