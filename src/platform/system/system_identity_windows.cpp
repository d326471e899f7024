#include <windows.h>

#include <string_view>
#include <utility>

#include "platform/system/system_identity.h"

namespace vnxtest {

namespace {

// The true version: GetVersionEx gives the one of the manifest.
void ReadVersion(SystemIdentity& identity) {
    using RtlGetVersionFunction = LONG(WINAPI*)(RTL_OSVERSIONINFOW*);
    RTL_OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof version;
    const HMODULE module = GetModuleHandleW(L"ntdll.dll");
    const auto rtlGetVersion = module == nullptr
                                   ? nullptr
                                   : reinterpret_cast<RtlGetVersionFunction>(
                                         reinterpret_cast<void*>(GetProcAddress(module, "RtlGetVersion")));
    if (rtlGetVersion == nullptr || rtlGetVersion(&version) != 0) {
        return;
    }
    identity.majorVersion = version.dwMajorVersion;
    identity.minorVersion = version.dwMinorVersion;
    identity.buildNumber = version.dwBuildNumber;
    identity.servicePack = version.szCSDVersion;
}

// A text of the registry key of the running Windows; `missing` if it does not exist.
std::wstring CurrentVersionText(const wchar_t* value, const wchar_t* missing) {
    wchar_t text[512] = {};
    DWORD size = sizeof text;
    const LSTATUS code = RegGetValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion",
                                      value, RRF_RT_REG_SZ, nullptr, text, &size);
    return code == ERROR_SUCCESS ? text : missing;
}

// The edition's usual name for the registry's identifier.
std::wstring EditionName(const std::wstring& identifier) {
    constexpr std::pair<std::wstring_view, std::wstring_view> kNames[] = {
        {L"Professional", L"Professional Edition"},
        {L"ProfessionalN", L"Professional N Edition"},
        {L"Core", L"Home Edition"},
        {L"CoreN", L"Home N Edition"},
        {L"Enterprise", L"Enterprise Edition"},
        {L"Education", L"Education Edition"},
        {L"ServerStandard", L"Server Standard Edition"},
        {L"ServerDatacenter", L"Server Datacenter Edition"},
        {L"Ultimate", L"Ultimate Edition"},
    };
    for (const auto& [known, name] : kNames) {
        if (identifier == known) {
            return std::wstring(name);
        }
    }
    return identifier;
}

bool IsElevated() {
    HANDLE token = nullptr;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token) == FALSE) {
        return false;
    }
    TOKEN_ELEVATION elevation{};
    DWORD size = 0;
    const bool known =
        GetTokenInformation(token, TokenElevation, &elevation, sizeof elevation, &size) != FALSE;
    CloseHandle(token);
    return known && elevation.TokenIsElevated != 0;
}

} // namespace

SystemIdentity GetSystemIdentity() {
    SystemIdentity identity;
    wchar_t name[256] = {};
    DWORD length = 256;
    if (GetComputerNameExW(ComputerNameDnsHostname, name, &length) != FALSE) {
        identity.computerName = name;
    }
    ReadVersion(identity);
    identity.productName = CurrentVersionText(L"ProductName", L"Windows");
    identity.edition = EditionName(CurrentVersionText(L"EditionID", L""));
    // The registry says "Windows 10" on Windows 11, too, which is known by its build number.
    constexpr std::uint32_t kFirstBuildOfWindows11 = 22000;
    constexpr std::wstring_view kWindows10 = L"Windows 10";
    if (identity.majorVersion == 10 && identity.buildNumber >= kFirstBuildOfWindows11 &&
        identity.productName.starts_with(kWindows10)) {
        identity.productName.replace(0, kWindows10.size(), L"Windows 11");
    }
    identity.processorCount = GetActiveProcessorCount(ALL_PROCESSOR_GROUPS);
    identity.elevated = IsElevated();
    return identity;
}

} // namespace vnxtest
