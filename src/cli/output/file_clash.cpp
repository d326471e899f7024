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

namespace {

std::filesystem::path PathOf(const std::wstring& libraryName) {
    const std::string name = ToUtf8(libraryName);
    return std::u8string(name.begin(), name.end());
}

std::wstring ClashText(const wchar_t* option, const wchar_t* other) {
    return Sprintf(L"%s names the file that %s. Name another one.", std::wstring(option),
                   std::wstring(other));
}

} // namespace

std::wstring FindFileClash(const AtomicFile& output, const AtomicFile& json,
                           const std::wstring& libraryName) {
    if (output.IsSameAs(json)) {
        return L"--output and --json name the same file. Name another one.";
    }
    const std::pair<const wchar_t*, const AtomicFile*> files[] = {{L"--output", &output}, {L"--json", &json}};
    const std::filesystem::path libraryFile = PathOf(libraryName);
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
            return ClashText(option, other);
        }
    }
    return {};
}

std::wstring FindCaptureClash(const BlockFile& capture, const std::filesystem::path& path,
                              const OtherFiles& others) {
    constexpr const wchar_t* kOption = L"--capture";
    for (const auto& [option, file] : {std::pair{L"--output", &others.output}, {L"--json", &others.json}}) {
        if (file->IsSameAs(path)) {
            return Sprintf(L"%s and --capture name the same file. Name another one.", std::wstring(option));
        }
    }
    const std::vector<std::filesystem::path> profile = ProfileFiles();
    if (capture.IsSameAs(stdout)) {
        return ClashText(kOption, L"standard output goes to");
    }
    if (capture.IsSameAs(stderr)) {
        return ClashText(kOption, L"standard error goes to");
    }
    if (IsLibraryFile(others.libraryName) && capture.IsSameAs(PathOf(others.libraryName))) {
        return ClashText(kOption, L"the interface library is loaded from");
    }
    if (std::ranges::any_of(profile, [&](const auto& kept) { return capture.IsSameAs(kept); })) {
        return ClashText(kOption, L"the settings are kept in");
    }
    return {};
}

} // namespace vnxtest
