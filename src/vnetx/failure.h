// How an operation of a built-in library fails: it sets both errno and the system's last error.
#pragma once

#include <cstdint>

namespace vnxtest {

// Sets errno to `code` and the system's last error to the matching code (on Linux they are one),
// and returns -1, so that an operation can end with `return Fail(EINVAL)`. Any thread.
std::int32_t Fail(int code);

} // namespace vnxtest
