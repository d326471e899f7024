// Makes foreign text safe to show: names of hosts, adapters and files, and texts of a resolver or an
// interface library.
//
// Such a text could otherwise move a terminal's cursor, forge a line of the report, or turn the reading
// direction. Invisible characters are shown by their number: control characters as "\x1b", separators of
// lines and marks of reading direction as "\u2028". Bytes that are not UTF-8 have become U+FFFD before.
// Backslashes stay. Any thread; cannot fail.
#pragma once

#include <string>
#include <string_view>

namespace vnxtest {

// For a name or a value of one line: line ends are shown, too. Called where such a text is taken in.
std::wstring MakeVisible(std::wstring_view text);

// For a text of lines, which stay lines: "\n" and "\r\n" end one, and a tab becomes a blank. All text for
// the document and standard error passes it. A text without such characters is not copied.
void MakeLinesVisible(std::wstring& lines);
// The same in UTF-8. Text of printable ASCII and line ends, which is nearly all, is looked at once.
std::string VisibleUtf8(std::wstring lines);

} // namespace vnxtest
