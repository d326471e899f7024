#include "hostnet/banner.h"
#include "wrenlib/log.h"

#include <algorithm>

namespace vnxtest {

namespace {

constexpr std::wstring_view kCommandIndent = L"    ";
constexpr std::size_t kMargin = 3; // on both sides of the text

void WrapLine(std::wstring_view text, std::size_t width, std::vector<std::wstring>& lines) {
    std::wstring line(text.substr(0, std::min(text.find_first_not_of(L' '), width / 2)));
    bool empty = true; // no word yet
    while (true) {
        const std::size_t begin = text.find_first_not_of(L' ');
        if (begin == std::wstring_view::npos) {
            break;
        }
        text.remove_prefix(begin);
        const std::wstring_view word = text.substr(0, text.find(L' '));
        const std::size_t blank = empty ? 0 : 1;
        if (line.size() + blank + word.size() <= width) {
            line.append(blank, L' ').append(word);
            text.remove_prefix(word.size());
            empty = false;
        } else if (!empty) {
            lines.push_back(std::move(line));
            line.clear();
            empty = true;
        } else {
            const std::size_t room = width - line.size();
            lines.push_back(line.append(word.substr(0, room)));
            line.clear();
            text.remove_prefix(room);
        }
    }
    if (!empty || line.empty()) {
        lines.push_back(std::move(line));
    }
}

} // namespace

std::vector<std::wstring> WrapText(std::wstring_view text, std::size_t width) {
    std::vector<std::wstring> lines;
    while (true) {
        const std::size_t end = text.find(L'\n');
        const std::wstring_view line = text.substr(0, end);
        if (line.starts_with(kCommandIndent)) {
            lines.emplace_back(line);
        } else {
            WrapLine(line, width, lines);
        }
        if (end == std::wstring_view::npos) {
            return lines;
        }
        text.remove_prefix(end + 1);
    }
}

std::wstring MakeBanner(BannerKind kind, const std::vector<std::wstring>& paragraphs,
                        std::wstring_view helpTopic) {
    const bool error = kind == BannerKind::Error;
    const std::wstring label = error ? L"ERROR:  " : L"WARNING:  ";
    const std::wstring title = error ? L"***  ERROR  ***" : L"*  WARNING  *";
    std::vector<std::wstring> framed = {L"", title, L""};
    std::vector<std::wstring> all = paragraphs;
    all.push_back(L"More about this: the topic \"" + std::wstring(helpTopic) +
                  L"\" of the Netorra help book.");
    std::size_t width = kBannerInnerWidth;
    for (const std::wstring& paragraph : all) {
        for (const std::wstring& line : WrapText(paragraph, kBannerTextWidth)) {
            framed.push_back(std::wstring(kMargin, L' ') + line);
            width = std::max(width, framed.back().size() + kMargin);
        }
        framed.emplace_back();
    }
    framed[1].insert(0, (width - title.size()) / 2, L' ');
    const std::wstring edge = label + std::wstring(width + 2, L'*') + L'\n';
    std::wstring banner = edge;
    for (const std::wstring& line : framed) {
        banner += label + L'*' + line + std::wstring(width - line.size(), L' ') + L"*\n";
    }
    return banner + edge + L'\n';
}

void LogBanner(BannerKind kind, const std::vector<std::wstring>& paragraphs, std::wstring_view helpTopic) {
    LogMsg(L"%s", MakeBanner(kind, paragraphs, helpTopic));
}

} // namespace vnxtest
