#include "widgets/access/text_units.h"

#include <algorithm>

namespace vnxtest {

namespace {

bool IsBlank(char byte) {
    return byte == ' ' || byte == '\n' || byte == '\t';
}

bool IsContinued(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

ByteRange CharacterAround(std::string_view text, std::size_t at) {
    std::size_t end = std::min(at + 1, text.size());
    while (end < text.size() && IsContinued(text[end])) {
        ++end;
    }
    return {at, end};
}

ByteRange WordAround(std::string_view text, std::size_t at) {
    const auto begins = [&](std::size_t place) {
        return place == 0 || place >= text.size() || text[place - 1] == '\n' ||
               (IsBlank(text[place - 1]) && !IsBlank(text[place]));
    };
    std::size_t from = at;
    while (!begins(from)) {
        --from;
    }
    std::size_t to = std::min(at + 1, text.size());
    while (!begins(to)) {
        ++to;
    }
    return {from, to};
}

ByteRange LineAround(std::string_view text, std::size_t at) {
    const std::size_t before = at == 0 ? std::string_view::npos : text.rfind('\n', at - 1);
    const std::size_t end = text.find('\n', at);
    return {before == std::string_view::npos ? 0 : before + 1,
            end == std::string_view::npos ? text.size() : end + 1};
}

} // namespace

ByteRange UnitAround(std::string_view text, std::size_t at, TextUnit unit) {
    switch (unit) {
    case TextUnit::Document:
        return {0, text.size()};
    case TextUnit::Line:
        return LineAround(text, at);
    case TextUnit::Word:
        return WordAround(text, at);
    default:
        return CharacterAround(text, at);
    }
}

std::size_t CharacterBefore(std::string_view text, std::size_t at) {
    while (at > 0 && IsContinued(text[--at])) {
    }
    return at;
}

} // namespace vnxtest
