#include <windows.h>

#include <stdexcept>

#include "settings/temporary_profile.h"

namespace vnxtest {

namespace {
constexpr wchar_t kPlace[] = L"Software\\VNXTestTemporaryProfile";
}

// The whole of HKEY_CURRENT_USER is looked for under a key of the test's own.
TemporaryProfile::TemporaryProfile() {
    RegDeleteTreeW(HKEY_CURRENT_USER, kPlace);
    HKEY key = nullptr;
    if (RegCreateKeyExW(HKEY_CURRENT_USER, kPlace, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) !=
        ERROR_SUCCESS) {
        throw std::runtime_error("no temporary key");
    }
    RegOverridePredefKey(HKEY_CURRENT_USER, key);
    RegCloseKey(key);
}

TemporaryProfile::~TemporaryProfile() {
    RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    RegDeleteTreeW(HKEY_CURRENT_USER, kPlace);
}

void TemporaryProfile::MakeUnwritable() {
    RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    HKEY key = nullptr;
    RegOpenKeyExW(HKEY_CURRENT_USER, kPlace, 0, KEY_READ, &key);
    RegOverridePredefKey(HKEY_CURRENT_USER, key);
    RegCloseKey(key);
}

} // namespace vnxtest
