// Characters, words and lines of a text, and all of it, as assistive software goes through it. Places are
// bytes (UTF-8).
#pragma once

#include <cstddef>
#include <string_view>
#include <utility>

namespace vnxtest {

using ByteRange = std::pair<std::size_t, std::size_t>; // beginning and end

enum class TextUnit { Character, Word, Line, Document };

// The unit in which the character at `at` is, with what separates it from the next: the blanks behind a word,
// the line end. Empty at the end of the text, unless the last line has no line end.
ByteRange UnitAround(std::string_view text, std::size_t at, TextUnit unit);

// Where the character before `at` begins; 0 at the beginning.
std::size_t CharacterBefore(std::string_view text, std::size_t at);

} // namespace vnxtest
