#include <windows.h>

#include <vector>

#include "platform/system/module_version.h"
#include "wrenlib/format.h"

namespace vnxtest {

namespace {

std::wstring PathOf(const std::wstring& module) {
    if (module.find_first_of(L"\\/") != std::wstring::npos) {
        return module;
    }
    const HMODULE loaded = GetModuleHandleW(module.c_str());
    wchar_t path[MAX_PATH] = {};
    return loaded != nullptr && GetModuleFileNameW(loaded, path, MAX_PATH - 1) != 0 ? path : L"";
}

std::wstring FileDate(const std::wstring& path) {
    constexpr const wchar_t* kMonths[] = {L"Jan", L"Feb", L"Mar", L"Apr", L"May", L"Jun",
                                          L"Jul", L"Aug", L"Sep", L"Oct", L"Nov", L"Dec"};
    WIN32_FILE_ATTRIBUTE_DATA attributes{};
    FILETIME localFileTime{};
    SYSTEMTIME local{};
    if (GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &attributes) == FALSE ||
        FileTimeToLocalFileTime(&attributes.ftLastWriteTime, &localFileTime) == FALSE ||
        FileTimeToSystemTime(&localFileTime, &local) == FALSE || local.wMonth < 1 || local.wMonth > 12) {
        return {};
    }
    return Sprintf(L"%s %2d %d %02d:%02d:%02d", std::wstring(kMonths[local.wMonth - 1]), int{local.wDay},
                   int{local.wYear}, int{local.wHour}, int{local.wMinute}, int{local.wSecond});
}

// A text of the version resource in its first language.
std::wstring ResourceText(std::vector<BYTE>& resource, const wchar_t* name) {
    struct Translation {
        WORD language;
        WORD codePage;
    };
    void* found = nullptr;
    UINT length = 0;
    if (VerQueryValueW(resource.data(), L"\\VarFileInfo\\Translation", &found, &length) == FALSE ||
        length < sizeof(Translation)) {
        return {};
    }
    const auto* translation = static_cast<const Translation*>(found);
    const std::wstring block = Sprintf(L"\\StringFileInfo\\%04x%04x\\%s", unsigned{translation->language},
                                       unsigned{translation->codePage}, std::wstring(name));
    if (VerQueryValueW(resource.data(), block.c_str(), &found, &length) == FALSE || found == nullptr) {
        return {};
    }
    return static_cast<const wchar_t*>(found);
}

} // namespace

std::optional<ModuleVersion> GetModuleVersion(const std::wstring& module) {
    ModuleVersion version;
    version.path = PathOf(module);
    if (version.path.empty() || GetFileAttributesW(version.path.c_str()) == INVALID_FILE_ATTRIBUTES) {
        return std::nullopt;
    }
    version.date = FileDate(version.path);
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(version.path.c_str(), &ignored);
    std::vector<BYTE> resource(size);
    if (size == 0 || GetFileVersionInfoW(version.path.c_str(), 0, size, resource.data()) == FALSE) {
        return version;
    }
    void* found = nullptr;
    UINT length = 0;
    if (VerQueryValueW(resource.data(), L"\\", &found, &length) != FALSE &&
        length >= sizeof(VS_FIXEDFILEINFO)) {
        const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(found);
        version.version =
            Sprintf(L"%d.%d.%d.%d", int{HIWORD(fixed->dwFileVersionMS)}, int{LOWORD(fixed->dwFileVersionMS)},
                    int{HIWORD(fixed->dwFileVersionLS)}, int{LOWORD(fixed->dwFileVersionLS)});
    }
    version.specialBuild = ResourceText(resource, L"SpecialBuild");
    // Some modules have this value, else the usual one.
    version.copyright = ResourceText(resource, L"Copyright");
    if (version.copyright.empty()) {
        version.copyright = ResourceText(resource, L"LegalCopyright");
    }
    return version;
}

} // namespace vnxtest
