// The buffers of the IP helper's tables, which say how large they must be. Windows only.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace vnxtest {

// Calls `fill` with a zeroed buffer of max(1, ceil(size / element)) elements, beginning with one, for as
// long as it answers ERROR_INSUFFICIENT_BUFFER or ERROR_BUFFER_OVERFLOW. Returns its last answer; `buffer` is
// empty unless that is 0. A source that never has enough is given up after some rounds with its own code.
std::uint32_t FetchGrowing(std::uint32_t element,
                           const std::function<std::uint32_t(void*, std::uint32_t*)>& fill,
                           std::vector<std::uint8_t>& buffer);

} // namespace vnxtest
