#include <ctime>

#include <sys/stat.h>

#include "platform/system/module_version.h"
#include "wrenlib/text.h"

namespace vnxtest {

std::optional<ModuleVersion> GetModuleVersion(const std::wstring& module) {
    struct stat status {};
    if (module.find(L'/') == std::wstring::npos || stat(ToNarrow(module).c_str(), &status) != 0) {
        return std::nullopt;
    }
    ModuleVersion version;
    version.path = module;
    std::tm local{};
    char text[64] = {};
    if (localtime_r(&status.st_mtime, &local) != nullptr &&
        std::strftime(text, sizeof text, "%b %e %Y %H:%M:%S", &local) != 0) {
        version.date = ToWide(text);
    }
    return version;
}

} // namespace vnxtest
