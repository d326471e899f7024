#include "wrenlib/text.h"

#include <algorithm>
#include <cstdint>

namespace vnxtest {

namespace {

constexpr std::wstring_view kBlanks = L" \t\r\n";
constexpr char32_t kReplacement = 0xFFFD;
constexpr bool kWideIsUtf16 = sizeof(wchar_t) == 2;

void AppendUtf8(std::string& out, char32_t code) {
    if (code < 0x80) {
        out.push_back(static_cast<char>(code));
    } else if (code < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (code >> 6)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else if (code < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (code >> 12)));
        out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (code >> 18)));
        out.push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    }
}

void AppendWide(std::wstring& out, char32_t code) {
    if (kWideIsUtf16 && code >= 0x10000) {
        code -= 0x10000;
        out.push_back(static_cast<wchar_t>(0xD800 + (code >> 10)));
        out.push_back(static_cast<wchar_t>(0xDC00 + (code & 0x3FF)));
    } else {
        out.push_back(static_cast<wchar_t>(code));
    }
}

bool IsSurrogate(char32_t code) {
    return code >= 0xD800 && code <= 0xDFFF;
}

// Decodes the UTF-8 sequence that begins at text[index] and moves index behind it. A malformed
// sequence yields the replacement character and moves by one byte.
char32_t DecodeUtf8(std::string_view text, std::size_t& index) {
    const auto lead = static_cast<std::uint8_t>(text[index]);
    const std::size_t count = lead >= 0xF0 && lead < 0xF5   ? 4U
                              : lead >= 0xE0 && lead < 0xF0 ? 3U
                              : lead >= 0xC2 && lead < 0xE0 ? 2U
                                                            : 0U;
    if (count == 0 || index + count > text.size()) {
        ++index;
        return kReplacement;
    }
    char32_t code = lead & (0x7FU >> count);
    for (std::size_t k = 1; k < count; ++k) {
        const auto byte = static_cast<std::uint8_t>(text[index + k]);
        if ((byte & 0xC0) != 0x80) {
            ++index;
            return kReplacement;
        }
        code = (code << 6) | (byte & 0x3FU);
    }
    const bool overlong = (count == 3 && code < 0x800) || (count == 4 && code < 0x10000);
    if (overlong || code > 0x10FFFF || IsSurrogate(code)) {
        ++index;
        return kReplacement;
    }
    index += count;
    return code;
}

wchar_t ToLowerAscii(wchar_t c) {
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

} // namespace

std::wstring EndSentence(const std::wstring& text) {
    return text.ends_with(L'.') ? text : text + L".";
}

std::wstring TrimBlanks(std::wstring_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::wstring_view::npos) {
        return {};
    }
    const std::size_t last = text.find_last_not_of(kBlanks);
    return std::wstring(text.substr(first, last - first + 1));
}

std::string ToUtf8(std::wstring_view text) {
    // Fast path: nearly every text is all ASCII.
    std::string out(text.size(), '\0');
    std::size_t ascii = 0;
    for (; ascii < text.size() && static_cast<char32_t>(text[ascii]) < 0x80; ++ascii) {
        out[ascii] = static_cast<char>(text[ascii]);
    }
    out.resize(ascii);
    for (std::size_t i = ascii; i < text.size(); ++i) {
        auto code = static_cast<char32_t>(text[i]);
        if (code < 0x80) {
            out.push_back(static_cast<char>(code));
            continue;
        }
        if constexpr (kWideIsUtf16) {
            code &= 0xFFFF;
            if (code >= 0xD800 && code < 0xDC00 && i + 1 < text.size()) {
                const auto low = static_cast<char32_t>(text[i + 1]) & 0xFFFF;
                if (low >= 0xDC00 && low <= 0xDFFF) {
                    code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                    ++i;
                }
            }
        }
        AppendUtf8(out, IsSurrogate(code) || code > 0x10FFFF ? kReplacement : code);
    }
    return out;
}

std::wstring FromUtf8(std::string_view text) {
    std::wstring out;
    out.reserve(text.size());
    std::size_t i = 0;
    while (i < text.size()) {
        if (static_cast<std::uint8_t>(text[i]) < 0x80) {
            out.push_back(static_cast<wchar_t>(text[i]));
            ++i;
        } else {
            AppendWide(out, DecodeUtf8(text, i));
        }
    }
    return out;
}

bool EqualNoCase(std::wstring_view left, std::wstring_view right) {
    return std::ranges::equal(left, right, {}, ToLowerAscii, ToLowerAscii);
}

} // namespace vnxtest
