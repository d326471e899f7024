#include "platform/files/file_access_linux.h"

#include <cerrno>
#include <cstring>
#include <vector>

#include <endian.h>
#include <linux/limits.h>
#include <linux/posix_acl.h>
#include <linux/posix_acl_xattr.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace vnxtest {

namespace {

constexpr const char* kAccessList = "system.posix_acl_access";
constexpr mode_t kEverybody = S_IRWXO;

// The access control list (acl(5)) as the kernel gives it; empty if the file has none.
std::vector<char> AccessListOf(const Descriptor& file) {
    std::vector<char> list(XATTR_SIZE_MAX);
    const ssize_t size = fgetxattr(file.Get(), kAccessList, list.data(), list.size());
    list.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return list;
}

// The permissions of others without the list: those they had, less what any entry but the owner's denies,
// since its subjects are others without it.
mode_t EverybodyWithout(const std::vector<char>& list, mode_t mode) {
    mode_t left = mode & kEverybody;
    for (std::size_t at = sizeof(posix_acl_xattr_header); at + sizeof(posix_acl_xattr_entry) <= list.size();
         at += sizeof(posix_acl_xattr_entry)) {
        posix_acl_xattr_entry entry{};
        std::memcpy(&entry, list.data() + at, sizeof entry);
        left &= le16toh(entry.e_tag) == ACL_USER_OBJ ? kEverybody : le16toh(entry.e_perm);
    }
    return left;
}

// Sets the permission bits and the access control list, if any; the group's bits of `mode` are its mask. If
// the list cannot be set the group gets no access.
bool SetAccess(const Descriptor& file, mode_t mode, const std::vector<char>& list, bool groupKept) {
    // The folder may have given the new file a list that the replaced one lacks.
    const bool clean = fremovexattr(file.Get(), kAccessList) == 0 || errno == ENODATA || errno == EOPNOTSUPP;
    if (!list.empty()) {
        mode = (mode & S_IRWXU) | EverybodyWithout(list, mode);
    } else if (!groupKept) {
        mode = (mode & ~static_cast<mode_t>(S_IRWXG)) | ((mode & kEverybody) << 3);
    }
    if (!clean) {
        mode &= ~static_cast<mode_t>(S_IRWXG); // it is that list's mask
    }
    if (fchmod(file.Get(), mode) != 0) {
        return false;
    }
    if (!list.empty() && groupKept) {
        // Sets the bits, too. If it fails they are narrow already.
        [[maybe_unused]] const int set = fsetxattr(file.Get(), kAccessList, list.data(), list.size(), 0);
    }
    return true;
}

} // namespace

bool TakeOverAccess(const Descriptor& file, const Descriptor& existing, const struct stat& replaced,
                    FileAccess access) {
    struct stat own {};
    if (fstat(file.Get(), &own) != 0) {
        return false;
    }
    const bool groupKept =
        own.st_gid == replaced.st_gid || fchown(file.Get(), static_cast<uid_t>(-1), replaced.st_gid) == 0;
    const mode_t mode = replaced.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
    const bool set = access == FileAccess::Private ? fchmod(file.Get(), S_IRUSR | S_IWUSR) == 0
                                                   : SetAccess(file, mode, AccessListOf(existing), groupKept);
    if (!set) {
        return false;
    }
    if (own.st_uid != replaced.st_uid) {
        // Without the right to give a file away it stays the writer's.
        [[maybe_unused]] const int given = fchown(file.Get(), replaced.st_uid, static_cast<gid_t>(-1));
    }
    return true;
}

} // namespace vnxtest
