// The settings with which all interfaces of a guest are opened.
#pragma once

#include <cstdint>

#include "wrenlib/number_range.h"

namespace vnxtest {

inline constexpr std::uint32_t kDefaultDebugFlags = 0x80008080;

// The ranges of the two buffers, in Kbytes.
inline constexpr std::uint32_t kKilo = 1024;
inline constexpr NumberRange kDriverBufferRange{64, 16384, 1024};
inline constexpr NumberRange kDllBufferRange{16, 1024, 64};

// Changed by the user-interface thread only, and only while the guest is stopped; read by every
// thread of a running guest.
struct RunSettings {
    bool debugMode = false;
    bool socketNotifyMode = false;
    std::uint32_t debugFlags = kDefaultDebugFlags;
    std::uint32_t driverBufferSize = kDriverBufferRange.standard * kKilo; // bytes
    std::uint32_t dllBufferSize = kDllBufferRange.standard * kKilo;       // bytes
};

} // namespace vnxtest
