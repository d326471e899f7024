// Where the characters of a long text begin. Assistive software counts characters; the text is UTF-8.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace vnxtest {

// Of a text that only grows until Clear(). What was counted once is not counted again but for one block.
class CharacterOffsets {
public:
    // How many characters begin before `byte` of `text`.
    std::size_t CharactersBefore(std::string_view text, std::size_t byte);
    // The byte at which that character begins; the text's size if there are not as many.
    std::size_t ByteOf(std::string_view text, std::size_t character);
    void Clear() { m_before.assign(1, 0); }

private:
    void CountBlocks(std::string_view text);

    std::vector<std::size_t> m_before{0}; // characters that begin before each block
};

} // namespace vnxtest
