// A part of a text that assistive software moves about in it: by characters, words, lines, as a whole, and by
// what is found. Places are bytes (UTF-8) and stand where a character begins. The text grows, and may have
// been emptied in between: each call is given the text as it is now, and the part is put into it first.
#pragma once

#include <optional>
#include <string_view>

#include "widgets/access/text_units.h"

namespace vnxtest {

class TextRange {
public:
    enum class End { First, Last };

    explicit TextRange(ByteRange bytes) : m_bytes(bytes) {}

    // Beginning and end within `text`.
    ByteRange Within(std::string_view text);

    // All of the unit in which it begins.
    void ExpandTo(std::string_view text, TextUnit unit);
    // Moves it by `count` units, backward if negative. One that is not empty becomes a whole unit. Returns
    // how many units it was moved by: fewer at the beginning and at the end of the text.
    int Move(std::string_view text, TextUnit unit, int count);
    // The same with one end of it. The other end goes along if it is passed.
    int MoveEnd(std::string_view text, End end, TextUnit unit, int count);
    void SetEnd(End end, std::size_t place);
    std::size_t Place(End end) const { return end == End::First ? m_bytes.first : m_bytes.second; }

    // Where `what` is in it, the first of all or, if `backward`, the last.
    enum class Case { Matters, Ignored };
    std::optional<ByteRange> Find(std::string_view text, std::string_view what, bool backward, Case letters);

private:
    ByteRange m_bytes;
};

} // namespace vnxtest
