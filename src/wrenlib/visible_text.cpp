#include "wrenlib/visible_text.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "wrenlib/text.h"

namespace vnxtest {

namespace {

// Cc, the separators of lines and paragraphs, and the marks, embeddings and isolates of the bidirectional
// algorithm (UAX #9).
bool IsInvisible(wchar_t character) {
    const auto code = static_cast<char32_t>(character);
    if (code < 0x7F) {
        return code < 0x20;
    }
    return code < 0xA0 || code == 0x061C || code == 0x200E || code == 0x200F || code == 0xFEFF ||
           (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

void AppendNumber(std::wstring& out, wchar_t character) {
    constexpr wchar_t kDigits[] = L"0123456789abcdef";
    const auto code = static_cast<char32_t>(character);
    out += code < 0x100 ? L"\\x" : L"\\u";
    for (int shift = code < 0x100 ? 4 : 12; shift >= 0; shift -= 4) {
        out += kDigits[code >> shift & 0xF];
    }
}

} // namespace

std::wstring MakeVisible(std::wstring_view text) {
    std::wstring out;
    out.reserve(text.size());
    for (const wchar_t character : text) {
        if (IsInvisible(character)) {
            AppendNumber(out, character);
        } else {
            out += character;
        }
    }
    return out;
}

void MakeLinesVisible(std::wstring& lines) {
    const auto isOdd = [](wchar_t character) { return character != L'\n' && IsInvisible(character); };
    const auto first = std::ranges::find_if(lines, isOdd);
    if (first == lines.end()) {
        return;
    }
    std::wstring out(lines.begin(), first);
    for (auto at = first; at != lines.end(); ++at) {
        if (!isOdd(*at)) {
            out += *at;
        } else if (*at == L'\t') {
            out += L' ';
        } else if (*at != L'\r' || (at + 1 != lines.end() && at[1] != L'\n')) {
            AppendNumber(out, *at);
        }
    }
    lines = std::move(out);
}

std::string VisibleUtf8(std::wstring lines) {
    std::string out(lines.size(), '\0');
    std::uint32_t odd = 0; // without a branch in the loop, which then works on several characters at once
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::uint32_t code = static_cast<char32_t>(lines[i]);
        odd |=
            static_cast<std::uint32_t>(code - 0x20 > 0x7E - 0x20) & static_cast<std::uint32_t>(code != '\n');
        out[i] = static_cast<char>(code);
    }
    if (odd == 0) {
        return out;
    }
    MakeLinesVisible(lines);
    return ToUtf8(lines);
}

} // namespace vnxtest
