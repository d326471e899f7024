#include <cstdio>
#include <fstream>
#include <string>

#include <sys/utsname.h>
#include <unistd.h>

#include "platform/process/privileges.h"
#include "platform/system/system_identity.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

// The value of PRETTY_NAME in an os-release file, without its quotes.
std::string DistributionName() {
    constexpr std::string_view kKey = "PRETTY_NAME=";
    for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
        std::ifstream file(path);
        for (std::string line; std::getline(file, line);) {
            if (!line.starts_with(kKey)) {
                continue;
            }
            std::string value = line.substr(kKey.size());
            if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
                value.back() == value.front()) {
                value = value.substr(1, value.size() - 2);
            }
            return value;
        }
    }
    return {};
}

} // namespace

SystemIdentity GetSystemIdentity() {
    SystemIdentity identity;
    utsname system{};
    if (uname(&system) == 0) {
        identity.computerName = ToWide(system.nodename);
        identity.productName = ToWide(system.sysname);
        // What is not a number stays 0. NOLINTNEXTLINE(cert-err34-c)
        std::sscanf(system.release, "%u.%u.%u", &identity.majorVersion, &identity.minorVersion,
                    &identity.buildNumber);
    }
    identity.edition = ToWide(DistributionName());
    const long online = sysconf(_SC_NPROCESSORS_ONLN);
    identity.processorCount = online > 0 ? static_cast<std::uint32_t>(online) : 0;
    // Root's window has given up its rights; its helper still has them.
    const auto mayUse = geteuid() == 0 ? MayOpen : HasPrivilege;
    identity.elevated = mayUse(Privilege::Capture) && mayUse(Privilege::NetworkAdministration);
    return identity;
}

} // namespace vnxtest
