#include <filesystem>

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/privileges.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

int CapabilityOf(Privilege privilege) {
    return privilege == Privilege::Capture ? CAP_NET_RAW : CAP_NET_ADMIN;
}

// The running program's own file.
std::wstring ProgramPath() {
    std::error_code error;
    const std::filesystem::path path = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? L"vnxtest-cli" : FromUtf8(path.native());
}

// As a word of a shell command.
std::wstring Quoted(const std::wstring& text) {
    const bool plain = text.find_first_of(L" \t\"'\\$`&|;<>()*?[]#~!") == std::wstring::npos;
    if (plain) {
        return text;
    }
    std::wstring quoted = L"'";
    for (const wchar_t c : text) {
        quoted += c == L'\'' ? std::wstring(L"'\\''") : std::wstring(1, c);
    }
    return quoted + L"'";
}

} // namespace

bool HasPrivilege(Privilege privilege) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3] = {};
    if (syscall(SYS_capget, &header, data) != 0) {
        return geteuid() == 0;
    }
    const int capability = CapabilityOf(privilege);
    return (data[CAP_TO_INDEX(capability)].effective & CAP_TO_MASK(capability)) != 0;
}

std::wstring HowToGrant(Privilege privilege) {
    const wchar_t* const name = privilege == Privilege::Capture ? L"cap_net_raw" : L"cap_net_admin";
    return Sprintf(L"This program lacks the capability %s. Grant it to the program with\n"
                   L"    sudo setcap %s+ep %s\n"
                   L"or run the program as root.",
                   std::wstring(name), std::wstring(name), Quoted(ProgramPath()));
}

} // namespace vnxtest
