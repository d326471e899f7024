// Text from elsewhere, made fit to be shown: names of hosts, adapters and files, what a resolver or an
// interface library says.
//
// Whoever chose such a name could otherwise move the cursor of a terminal, forge a line of the report, or
// turn the reading direction of what follows. Characters without a shape of their own are shown by their
// number: control characters as "\x1b", separators of lines and marks of reading direction as "\u2028". What
// is not UTF-8 has become U+FFFD before. Backslashes stay as they are. Any thread; nothing fails.
#pragma once

#include <string>
#include <string_view>

namespace vnxtest {

// A name or a value of one line: line ends are shown, too. To be called where such a text is taken in.
std::wstring MakeVisible(std::wstring_view text);

// A text of lines, which stay lines: "\n" and "\r\n" end one, and a tab is a blank. Everything that is
// written to the document or to standard error goes through it. Nearly every text has nothing to be changed
// and is only looked at.
void MakeLinesVisible(std::wstring& lines);

} // namespace vnxtest
