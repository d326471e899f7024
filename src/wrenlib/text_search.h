// Finds a text in a very long one: at the pace of the memory, where a search that folds every character takes
// minutes.
#pragma once

#include <cstddef>
#include <string_view>

namespace vnxtest {

enum class LetterCase {
    Matters,
    Ignored, // of the letters A to Z; `wanted` is ASCII
};

// The index of the first `wanted` in `text`, npos if there is none. `wanted` is not empty. UTF-8 is found
// byte by byte, which is never in the middle of a character.
std::size_t FindFirstText(std::string_view text, std::string_view wanted, LetterCase letters);

// Likewise, of the last.
std::size_t FindLastText(std::string_view text, std::string_view wanted, LetterCase letters);

} // namespace vnxtest
