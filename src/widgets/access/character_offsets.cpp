#include "widgets/access/character_offsets.h"

#include <algorithm>

namespace vnxtest {

namespace {

constexpr std::size_t kBlock = std::size_t{64} * 1024;

bool BeginsCharacter(char byte) {
    constexpr unsigned kMask = 0xC0;
    constexpr unsigned kContinued = 0x80;
    return (static_cast<unsigned char>(byte) & kMask) != kContinued;
}

std::size_t Count(std::string_view text) {
    return static_cast<std::size_t>(std::ranges::count_if(text, BeginsCharacter));
}

} // namespace

void CharacterOffsets::CountBlocks(std::string_view text) {
    for (std::size_t counted = m_before.size(); counted * kBlock <= text.size(); ++counted) {
        m_before.push_back(m_before.back() + Count(text.substr((counted - 1) * kBlock, kBlock)));
    }
}

std::size_t CharacterOffsets::CharactersBefore(std::string_view text, std::size_t byte) {
    byte = std::min(byte, text.size());
    CountBlocks(text);
    const std::size_t block = byte / kBlock;
    return m_before[block] + Count(text.substr(block * kBlock, byte - block * kBlock));
}

std::size_t CharacterOffsets::ByteOf(std::string_view text, std::size_t character) {
    CountBlocks(text);
    const auto block = std::ranges::upper_bound(m_before, character) - 1;
    std::size_t at = static_cast<std::size_t>(block - m_before.begin()) * kBlock;
    // Those of the block that are before it, and then it.
    std::size_t left = character - *block + 1;
    for (; at < text.size(); ++at) {
        if (BeginsCharacter(text[at]) && --left == 0) {
            break;
        }
    }
    return at;
}

} // namespace vnxtest
