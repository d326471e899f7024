// The host's names, version and processors, and the rights of this process.
//
// An unknown value stays empty or 0. Any thread; cannot fail.
#pragma once

#include <cstdint>
#include <string>

namespace vnxtest {

struct SystemIdentity {
    std::wstring computerName;
    std::wstring productName; // "Windows 10 Pro"; "Linux" with the kernel's version
    std::uint32_t majorVersion = 0;
    std::uint32_t minorVersion = 0;
    std::uint32_t buildNumber = 0;
    std::wstring edition;     // "Professional"; the distribution's name and version on Linux
    std::wstring servicePack; // "Service Pack 1", where there is one
    std::uint32_t processorCount = 0;
    // The process has the program's rights: an elevated token on Windows; on Linux CAP_NET_RAW and
    // CAP_NET_ADMIN (with permission for /dev/net/tun), or as root those of the helper.
    bool elevated = false;
};

SystemIdentity GetSystemIdentity();

} // namespace vnxtest
