// The process-wide settings that the interfaces are opened and watched with.
#pragma once

#include <cstdint>

namespace vnxtest {

inline constexpr std::uint32_t kDefaultDebugFlags = 0x80008080;
inline constexpr std::uint32_t kDefaultDriverBufferSize = 1024 * 1024;
inline constexpr std::uint32_t kDefaultDllBufferSize = 64 * 1024;

// Changed by the user-interface thread only, and only while the guest is stopped; read by every
// thread of a running guest.
struct RunSettings {
    bool debugMode = false;                                    // "DebugMode"
    bool socketNotifyMode = false;                             // "SocketNotifyMode"
    std::uint32_t debugFlags = kDefaultDebugFlags;             // "DebugFlags"
    std::uint32_t driverBufferSize = kDefaultDriverBufferSize; // bytes
    std::uint32_t dllBufferSize = kDefaultDllBufferSize;       // bytes
};

} // namespace vnxtest
