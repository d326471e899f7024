#include <windows.h>

#include "platform/process/privileges.h"

namespace vnxtest {

bool HasPrivilege(Privilege) {
    HANDLE token = nullptr;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token) == FALSE) {
        return false;
    }
    TOKEN_ELEVATION elevation{};
    DWORD size = sizeof elevation;
    const BOOL known = GetTokenInformation(token, TokenElevation, &elevation, size, &size);
    CloseHandle(token);
    return known != FALSE && elevation.TokenIsElevated != 0;
}

bool MayOpen(Privilege privilege) {
    return HasPrivilege(privilege);
}

Result<void> CheckRightsOfItsFile() {
    return {}; // a file has no rights on Windows
}

std::wstring HowToGrant(Privilege) {
    return L"This program needs administrator rights. Start it from a command prompt that was opened with \"Run as administrator\".";
}

Result<void> GiveUpPrivileges(const KeptPrivileges&) {
    return {};
}

} // namespace vnxtest
