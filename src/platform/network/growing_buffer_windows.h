// The buffers of the IP helper's tables, which report the size they need. Windows only. Any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "wrenlib/failure.h"

namespace vnxtest {

// Calls `fill` with a zeroed buffer of max(1, ceil(size / element)) elements, beginning with one, while it
// answers ERROR_INSUFFICIENT_BUFFER or ERROR_BUFFER_OVERFLOW, at most 64 times. Fails with its last answer,
// in the name of `call`.
Result<std::vector<std::uint8_t>>
FetchGrowing(std::wstring_view call, std::uint32_t element,
             const std::function<std::uint32_t(void*, std::uint32_t*)>& fill);

} // namespace vnxtest
