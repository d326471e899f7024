// What the operating system is called in texts for people.
#pragma once

#include <string_view>

namespace vnxtest {

// "Windows", "Linux". Any thread.
std::wstring_view SystemName();

} // namespace vnxtest
