// Bytes of a test from hex text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vnxtest {

using Frame = std::vector<std::uint8_t>;

// The bytes that `text` names in hex; blanks are passed over.
inline Frame Hex(std::string text) {
    std::erase(text, ' ');
    Frame bytes;
    for (std::size_t at = 0; at < text.size(); at += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(text.substr(at, 2), nullptr, 16)));
    }
    return bytes;
}

} // namespace vnxtest
