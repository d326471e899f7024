#include "open/helper.h"

#include <array>
#include <climits>
#include <cstdint>
#include <cstring>
#include <filesystem>

#include <grp.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace vnxtest {
namespace {

constexpr const char* kName = "/vnxtest-open";
constexpr std::uint32_t kRights = 1u << CAP_NET_RAW | 1u << CAP_NET_ADMIN;

std::string FolderOfProgram() {
    const std::string program = ProgramPath();
    const std::size_t slash = program.rfind('/');
    return slash == std::string::npos ? std::string() : program.substr(0, slash);
}

// The file's permitted set (capabilities(7); VFS_CAP_REVISION_2 and 3 begin alike). Whether it is effective
// at the start does not matter: the helper raises what it needs.
std::uint32_t RightsOfFile(const std::string& path) {
    vfs_ns_cap_data data{};
    const ssize_t size = getxattr(path.c_str(), "security.capability", &data, sizeof data);
    const bool known = size >= static_cast<ssize_t>(sizeof(vfs_cap_data));
    return known ? data.data[0].permitted : 0;
}

// The name of the file's group, or its number if it has none.
std::string GroupOfFile(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        return {};
    }
    std::array<char, 4096> text{}; // a group of more members than fit is named by its number
    struct group record {};
    struct group* found = nullptr;
    getgrgid_r(status.st_gid, &record, text.data(), text.size(), &found);
    return found != nullptr ? found->gr_name : std::to_string(status.st_gid);
}

} // namespace

std::string ProgramPath() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    return {path, length > 0 ? static_cast<std::size_t>(length) : 0};
}

std::string Quoted(const std::string& text) {
    if (text.find_first_of(" \t\"'\\$`&|;<>()*?[]#~!") == std::string::npos) {
        return text;
    }
    std::string quoted = "'";
    for (const char c : text) {
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + "'";
}

std::string HelperPath() {
    const std::string folder = FolderOfProgram();
    if (folder.empty()) {
        return {}; // without /proc; a file of that name is missing
    }
    const std::string beside = folder + kName;
    const std::string installed =
        std::filesystem::path(folder + "/" VNXTEST_HELPER_FOLDER + kName).lexically_normal().string();
    return access(beside.c_str(), F_OK) != 0 && access(installed.c_str(), F_OK) == 0 ? installed : beside;
}

HelperState StateOfHelper(const std::string& path) {
    if (access(path.c_str(), F_OK) != 0) {
        return HelperState::Missing;
    }
    if (access(path.c_str(), X_OK) != 0) {
        return HelperState::NotAllowed;
    }
    if (getuid() != 0 && (RightsOfFile(path) & kRights) != kRights) {
        return HelperState::LacksRights;
    }
    struct statvfs system {};
    const bool nosuid = statvfs(path.c_str(), &system) == 0 && (system.f_flag & ST_NOSUID) != 0;
    const bool within = prctl(PR_CAPBSET_READ, CAP_NET_RAW, 0, 0, 0) == 1 &&
                        prctl(PR_CAPBSET_READ, CAP_NET_ADMIN, 0, 0, 0) == 1;
    const bool gains = within && prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) == 0 && (!nosuid || getuid() == 0);
    return gains ? HelperState::Ready : HelperState::Powerless;
}

std::string HelperCommand(const std::string& path) {
    return "sudo setcap cap_net_raw,cap_net_admin+ep " + Quoted(path);
}

std::string HowToReadyHelper(const std::string& path) {
    switch (StateOfHelper(path)) {
    case HelperState::Ready:
        return {};
    case HelperState::Missing:
        if (getuid() == 0) {
            return "Its helper, which would do it, is missing. Install vnxtest-open as\n    " + Quoted(path) +
                   "\nRoot's needs no rights of its own; a container has to have cap_net_raw and cap_net_admin.";
        }
        return "Its helper, which would do it, is missing. Install vnxtest-open and give it its rights with\n    " +
               HelperCommand(path) + "\nor run vnxtest-cli as root.";
    case HelperState::NotAllowed:
        return "Its helper " + path + " may be run by members of the group " + GroupOfFile(path) +
               " only. Join the group with\n    sudo gpasswd -a \"$USER\" " + GroupOfFile(path) +
               "\nand log in again, or run vnxtest-cli as root.";
    case HelperState::LacksRights:
        return "Its helper would do it if it had the rights. Give them to it with\n    " +
               HelperCommand(path) + "\nor run vnxtest-cli as root.";
    case HelperState::Powerless:
        return "Its helper " + path +
               " gets no rights here: programs are kept from gaining any (no_new_privs, a file system that is mounted nosuid, or a container without the rights cap_net_raw and cap_net_admin).";
    }
    return {};
}

} // namespace vnxtest
