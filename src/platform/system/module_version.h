// The version data in a module's file.
#pragma once

#include <optional>
#include <string>

namespace vnxtest {

struct ModuleVersion {
    std::wstring path;         // of the file, absolute
    std::wstring version;      // of its version resource; empty on Linux, whose files have none
    std::wstring date;         // "Nov 21 2026 03:04:45": when the file was last written, local time
    std::wstring specialBuild; // the "SpecialBuild" value
    std::wstring copyright;    // the "LegalCopyright" value
};

// The module of this path or, on Windows, the loaded module of this file name; nullopt if there is none.
// Any thread.
std::optional<ModuleVersion> GetModuleVersion(const std::wstring& module);

} // namespace vnxtest
