#include "platform/network/growing_buffer_windows.h"

#include <windows.h>

#include <algorithm>
#include <new>

namespace vnxtest {

namespace {

// A table grows by a few rows at most between two calls; a source that asks for more rounds is faulty.
constexpr int kMaximumRounds = 64;
// More than any host's routing table; a larger size is refused.
constexpr std::uint32_t kMaximumTableSize = 512U * 1024 * 1024;

bool IsTooSmall(std::uint32_t code) {
    return code == ERROR_INSUFFICIENT_BUFFER || code == ERROR_BUFFER_OVERFLOW;
}

} // namespace

Result<std::vector<std::uint8_t>>
FetchGrowing(std::wstring_view call, std::uint32_t element,
             const std::function<std::uint32_t(void*, std::uint32_t*)>& fill) {
    std::vector<std::uint8_t> buffer;
    std::uint32_t size = element;
    std::uint32_t code = ERROR_INSUFFICIENT_BUFFER;
    for (int round = 0; round < kMaximumRounds && size <= kMaximumTableSize && IsTooSmall(code); ++round) {
        const std::size_t elements = std::max<std::size_t>(1, (std::size_t{size} + element - 1) / element);
        buffer.clear();
        try {
            buffer.assign(elements * element, 0);
        } catch (const std::bad_alloc&) {
            return FailedCall(call, ERROR_NOT_ENOUGH_MEMORY);
        }
        size = static_cast<std::uint32_t>(buffer.size());
        code = fill(buffer.data(), &size);
    }
    if (code != 0) {
        return FailedCall(call, code);
    }
    return buffer;
}

} // namespace vnxtest
