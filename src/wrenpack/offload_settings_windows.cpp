#include "wrenpack/offload_settings.h"

#include <cstring>
#include <utility>

#include "wrenpack/adapter_class_windows.h"
#include "wrenpack/host_adapter.h"

namespace vnxtest {

namespace {

constexpr wchar_t kClassKey[] =
    L"SYSTEM\\CurrentControlSet\\Control\\Class\\{4D36E972-E325-11CE-BFC1-08002BE10318}";

RegistryKey OpenKey(const std::wstring& path, REGSAM access) {
    HKEY key = nullptr;
    return RegistryKey(
        RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, access, &key) == ERROR_SUCCESS ? key : nullptr);
}

// The NetCfgInstanceId of a subkey; empty if it cannot be read into 512 bytes.
std::wstring InstanceOf(HKEY key) {
    wchar_t text[256] = {};
    DWORD size = sizeof text;
    if (RegQueryValueExW(key, L"NetCfgInstanceId", nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size) !=
        ERROR_SUCCESS) {
        return {};
    }
    // A registry text may lack its terminator.
    return std::wstring(text, wcsnlen(text, size / sizeof *text));
}

} // namespace

RegistryKey OpenAdapterClassKey(const std::wstring& instance) {
    constexpr DWORD kNameCapacity = 256;
    const RegistryKey classKey = OpenKey(kClassKey, KEY_QUERY_VALUE | KEY_ENUMERATE_SUB_KEYS);
    if (classKey == nullptr || instance.empty()) {
        return nullptr;
    }
    for (DWORD index = 0;; ++index) {
        wchar_t name[kNameCapacity] = {};
        DWORD length = kNameCapacity;
        if (RegEnumKeyExW(classKey.get(), index, name, &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS) {
            return nullptr;
        }
        RegistryKey key = OpenKey(std::wstring(kClassKey) + L"\\" + name, KEY_QUERY_VALUE);
        if (key != nullptr && InstanceOf(key.get()) == instance) {
            return key;
        }
    }
}

bool QueryFirstCharacter(HKEY key, const wchar_t* value, wchar_t& character) {
    wchar_t data[2] = {};
    DWORD size = sizeof data;
    if (RegQueryValueExW(key, value, nullptr, nullptr, reinterpret_cast<BYTE*>(data), &size) !=
        ERROR_SUCCESS) {
        return false;
    }
    character = data[0];
    return true;
}

std::uint8_t GetAdapterLSOFlags(std::wstring_view adapterName) {
    const RegistryKey key = OpenAdapterClassKey(std::wstring(IdentifierOf(adapterName)));
    if (key == nullptr) {
        return 0;
    }
    constexpr std::pair<const wchar_t*, LsoFlag> kValues[] = {{L"*LsoV1Ipv4", kLsoV1Ipv4Present},
                                                              {L"*LsoV1Ipv6", kLsoV1Ipv6Present},
                                                              {L"*LsoV2Ipv4", kLsoV2Ipv4Present},
                                                              {L"*LsoV2Ipv6", kLsoV2Ipv6Present}};
    unsigned flags = 0;
    for (const auto& [value, present] : kValues) {
        wchar_t character = L'\0';
        if (QueryFirstCharacter(key.get(), value, character)) {
            flags |= unsigned{present} | (character == L'1' ? unsigned{present} << 2 : 0U);
        }
    }
    return static_cast<std::uint8_t>(flags);
}

} // namespace vnxtest
