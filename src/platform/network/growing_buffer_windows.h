// The buffers of the IP helper's tables, which report the size they need. Windows only. Any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace vnxtest {

// Calls `fill` with a zeroed buffer of max(1, ceil(size / element)) elements, beginning with one, while it
// returns ERROR_INSUFFICIENT_BUFFER or ERROR_BUFFER_OVERFLOW, for some rounds at most. Returns its last
// result; `buffer` is empty unless that is 0.
std::uint32_t FetchGrowing(std::uint32_t element,
                           const std::function<std::uint32_t(void*, std::uint32_t*)>& fill,
                           std::vector<std::uint8_t>& buffer);

} // namespace vnxtest
