// The operating system's name in texts.
#pragma once

#include <string_view>

namespace vnxtest {

// "Windows", "Linux". Any thread.
std::wstring_view SystemName();

} // namespace vnxtest
