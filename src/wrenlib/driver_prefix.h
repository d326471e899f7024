// What the packet driver puts before the system's identifier of an adapter to name its own device.
#pragma once

#include <string_view>

namespace vnxtest {

inline constexpr std::wstring_view kDriverPrefix = L"NPF_";

} // namespace vnxtest
