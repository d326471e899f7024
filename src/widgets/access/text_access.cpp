#include "widgets/access/text_access.h"

#include <algorithm>

namespace vnxtest {

namespace {

constexpr int kInterval = 500; // milliseconds in which what is added is told at once
// Of a flood only the end is told: more nobody can follow.
constexpr std::size_t kMostTold = std::size_t{16} * 1024;

std::size_t LineBeginning(std::string_view text, std::size_t at) {
    const std::size_t end = at == 0 ? std::string_view::npos : text.rfind('\n', at - 1);
    return end == std::string_view::npos ? 0 : end + 1;
}

} // namespace

TextAccess::TextAccess(ReadableText& text) : m_text(text) {
    m_timer.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { OnTimer(); });
}

void TextAccess::OnAppended() {
    if (!m_timer.IsRunning()) {
        m_timer.StartOnce(kInterval);
    }
}

void TextAccess::OnEmptied() {
    m_told = 0;
    TellEmptied();
}

void TextAccess::OnMoved() {
    if (IsRead()) {
        TellMoved();
    }
}

void TextAccess::OnTimer() {
    const std::string_view text = m_text.ReadableUtf8();
    const std::size_t before = std::exchange(m_told, text.size());
    if (!IsRead() || before >= m_told) {
        return;
    }
    const std::size_t latest = m_told > kMostTold ? LineBeginning(text, m_told - kMostTold) : 0;
    const std::string sentence = SentenceOf(text.substr(before));
    TellAdded(std::max(before, latest), m_told);
    if (!sentence.empty()) {
        Announce(sentence);
    }
}

std::string SentenceOf(std::string_view lines) {
    constexpr std::size_t kStamp = 13; // "hh:mm:ss.mmm "
    constexpr int kFew = 3;
    std::string said;
    std::string_view last;
    int count = 0;
    while (!lines.empty()) {
        const std::size_t end = std::min(lines.find('\n'), lines.size());
        std::string_view line = lines.substr(0, end);
        lines.remove_prefix(std::min(end + 1, lines.size()));
        line.remove_prefix(std::min(line.size(), kStamp));
        if (line.find_first_not_of(' ') == std::string_view::npos) {
            continue;
        }
        last = line;
        if (++count <= kFew) {
            said += said.empty() ? "" : "\n";
            said += line;
        }
    }
    return count <= kFew ? said : std::to_string(count) + " new lines. " + std::string(last);
}

} // namespace vnxtest
