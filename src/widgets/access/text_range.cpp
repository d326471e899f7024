#include "widgets/access/text_range.h"

#include <algorithm>
#include <cwctype>

namespace vnxtest {

namespace {

std::size_t UnitBefore(std::string_view text, std::size_t at, TextUnit unit) {
    return at == 0 ? 0 : UnitAround(text, CharacterBefore(text, at), unit).first;
}

// To the next beginning of a unit, or the text's end; `count` times. Returns how many times it went on.
int Step(std::string_view text, std::size_t& at, TextUnit unit, int count) {
    int done = 0;
    for (; done < count && at < text.size(); ++done) {
        at = UnitAround(text, at, unit).second;
    }
    for (; done > count && at > 0; --done) {
        at = UnitBefore(text, at, unit);
    }
    return done;
}

// Behind a line end there is a line, an empty one; nothing else is at the end of a text.
bool HasUnitAtEnd(std::string_view text, TextUnit unit) {
    return text.empty() || (unit == TextUnit::Line && text.back() == '\n');
}

// The character that begins at `at`, in lower case, and how many bytes it has. A byte that is no UTF-8 is a
// character of its own.
std::pair<unsigned, std::size_t> LowerAt(std::string_view text, std::size_t at) {
    constexpr unsigned kContinuedBits = 6;
    constexpr unsigned kMostFolded = 0xFFFF; // beyond are letters of history only
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const auto [from, to] = UnitAround(text, at, TextUnit::Character);
    const std::size_t length = to - from;
    unsigned code = byte(at);
    if (code >= 0x80U && length >= 2 && length <= 4) {
        code &= 0xFFU >> (length + 1);
        for (std::size_t index = 1; index < length; ++index) {
            code = (code << kContinuedBits) | (byte(at + index) & 0x3FU);
        }
    }
    return {code <= kMostFolded ? std::towlower(static_cast<std::wint_t>(code)) : code, length};
}

// The end of `what` in `text` if it stands at `at`, whatever the case of its letters.
std::optional<std::size_t> EndIfThere(std::string_view text, std::size_t at, std::string_view what) {
    for (std::size_t index = 0; index < what.size();) {
        if (at >= text.size()) {
            return std::nullopt;
        }
        const auto wanted = LowerAt(what, index);
        const auto there = LowerAt(text, at);
        if (wanted.first != there.first) {
            return std::nullopt;
        }
        index += wanted.second;
        at += there.second;
    }
    return at;
}

} // namespace

ByteRange TextRange::Within(std::string_view text) {
    for (std::size_t* const place : {&m_bytes.first, &m_bytes.second}) {
        *place = std::min(*place, text.size());
        if (*place < text.size()) {
            *place = CharacterBefore(text, *place + 1);
        }
    }
    m_bytes.second = std::max(m_bytes.first, m_bytes.second);
    return m_bytes;
}

void TextRange::ExpandTo(std::string_view text, TextUnit unit) {
    m_bytes = UnitAround(text, Within(text).first, unit);
}

int TextRange::Move(std::string_view text, TextUnit unit, int count) {
    const auto [from, to] = Within(text);
    std::size_t at = from;
    if (from == to) {
        const int moved = Step(text, at, unit, count);
        m_bytes = {at, at};
        return moved;
    }
    at = UnitAround(text, at, unit).first;
    int moved = Step(text, at, unit, count);
    if (at == text.size() && !HasUnitAtEnd(text, unit)) {
        at = UnitBefore(text, at, unit);
        --moved;
    }
    m_bytes = UnitAround(text, at, unit);
    return moved;
}

int TextRange::MoveEnd(std::string_view text, End end, TextUnit unit, int count) {
    Within(text);
    std::size_t at = Place(end);
    const int moved = Step(text, at, unit, count);
    SetEnd(end, at);
    return moved;
}

void TextRange::SetEnd(End end, std::size_t place) {
    if (end == End::First) {
        m_bytes = {place, std::max(place, m_bytes.second)};
    } else {
        m_bytes = {std::min(m_bytes.first, place), place};
    }
}

std::optional<ByteRange> TextRange::Find(std::string_view text, std::string_view what, bool backward,
                                         Case letters) {
    const auto [from, to] = Within(text);
    const std::string_view part = text.substr(from, to - from);
    if (what.empty()) {
        return std::nullopt;
    }
    if (letters == Case::Matters) {
        const std::size_t found = backward ? part.rfind(what) : part.find(what);
        return found == std::string_view::npos
                   ? std::nullopt
                   : std::optional(ByteRange{from + found, from + found + what.size()});
    }
    std::size_t at = backward ? part.size() : 0;
    while (backward ? at > 0 : at < part.size()) {
        at = backward ? CharacterBefore(part, at) : at;
        if (const auto end = EndIfThere(part, at, what)) {
            return ByteRange{from + at, from + *end};
        }
        at = backward ? at : UnitAround(part, at, TextUnit::Character).second;
    }
    return std::nullopt;
}

} // namespace vnxtest
