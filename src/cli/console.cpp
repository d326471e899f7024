#include "cli/console.h"

#include <algorithm>
#include <cstdio>

#include "platform/terminal.h"
#include "wrenlib/text.h"
#include "wrenlib/visible_text.h"

namespace vnxtest {

void Complain(std::wstring_view text) {
    std::wstring lines(text);
    MakeLinesVisible(lines);
    std::string line = "vnxtest-cli: ";
    line += ToUtf8(lines);
    while (line.ends_with('\n')) {
        line.pop_back();
    }
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

Progress::Progress() : m_on(IsTerminal(stderr) && !IsTerminal(stdout)) {}

void Progress::Show(const std::wstring& text) {
    if (!m_on || (text.empty() && m_shown == 0)) {
        return;
    }
    std::string line = "\r";
    line += ToUtf8(text);
    line.append(m_shown > text.size() ? m_shown - text.size() : 0, ' ');
    if (text.empty()) {
        line += '\r';
    }
    m_shown = text.size();
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
}

} // namespace vnxtest
