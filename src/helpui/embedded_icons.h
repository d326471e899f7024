// The rendered icons as the build embeds them (CMakeLists.txt writes the source).
#pragma once

#include <span>

namespace vnxtest {

// PNG images, the smallest first.
std::span<const std::span<const unsigned char>> EmbeddedIcons();

} // namespace vnxtest
