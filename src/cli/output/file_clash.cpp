#include "cli/output/file_clash.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <utility>
#include <vector>

#include "platform/files/profile.h"
#include "vnetx/library.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"

namespace vnxtest {

std::wstring FindFileClash(const AtomicFile& output, const AtomicFile& json,
                           const std::wstring& libraryName) {
    if (output.IsSameAs(json)) {
        return L"--output and --json name the same file. Name another one.";
    }
    const std::pair<const wchar_t*, const AtomicFile*> files[] = {{L"--output", &output}, {L"--json", &json}};
    const std::string name = ToUtf8(libraryName);
    const std::filesystem::path libraryFile(std::u8string(name.begin(), name.end()));
    const std::vector<std::filesystem::path> profile = ProfileFiles();
    for (const auto& [option, destination] : files) {
        const AtomicFile* const file = destination; // a name that a lambda can take
        const wchar_t* other = nullptr;
        if (file->IsSameAs(stdout)) {
            other = L"standard output goes to";
        } else if (!file->IsWrittenThrough() && file->IsSameAs(stderr)) { // --json /dev/stderr adds to it
            other = L"standard error goes to";
        } else if (IsLibraryFile(libraryName) && file->IsSameAs(libraryFile)) {
            other = L"the interface library is loaded from";
        } else if (std::ranges::any_of(profile, [&](const auto& path) { return file->IsSameAs(path); })) {
            other = L"the settings are kept in";
        }
        if (other != nullptr) {
            return Sprintf(L"%s names the file that %s. Name another one.", std::wstring(option),
                           std::wstring(other));
        }
    }
    return {};
}

} // namespace vnxtest
