// Who and what this host is: names, versions, processors, and the rights this process runs with.
//
// What cannot be found out stays empty or 0; nothing here fails. Any thread.
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
    // The process may do what the program needs: an elevated token on Windows; on Linux effective
    // root, or the capabilities CAP_NET_RAW and CAP_NET_ADMIN.
    bool elevated = false;
};

SystemIdentity GetSystemIdentity();

} // namespace vnxtest
