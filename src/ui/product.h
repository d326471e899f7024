// What the program calls itself, in the window's own texts.
#pragma once

namespace vnxtest {

inline constexpr const char* kProductName = "VNXTest64UD";
inline constexpr const char* kCompanyName = "Corvane Software Works";

} // namespace vnxtest
