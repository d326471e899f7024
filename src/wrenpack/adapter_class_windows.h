// The adapter class keys of the Windows registry, where drivers keep their settings. Windows only.
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <type_traits>

namespace vnxtest {

struct RegistryKeyCloser {
    void operator()(HKEY key) const { RegCloseKey(key); }
};
using RegistryKey = std::unique_ptr<std::remove_pointer_t<HKEY>, RegistryKeyCloser>;

// The class key of the adapter whose NetCfgInstanceId is exactly `instance`, open for querying values; null
// if there is none. Registry failures are silent. Any thread.
RegistryKey OpenAdapterClassKey(const std::wstring& instance);

// The first UTF-16 character of a value of at most two (one and its terminator), whatever its type. False
// if the value is missing or does not fit.
bool QueryFirstCharacter(HKEY key, const wchar_t* value, wchar_t& character);

} // namespace vnxtest
