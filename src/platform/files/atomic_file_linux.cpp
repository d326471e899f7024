#include "platform/files/atomic_file.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <random>
#include <vector>

#include <dirent.h>
#include <endian.h>
#include <fcntl.h>
#include <linux/limits.h>
#include <linux/magic.h>
#include <linux/posix_acl.h>
#include <linux/posix_acl_xattr.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/xattr.h>

#include "wrenlib/descriptor_linux.h"
#include "wrenlib/errors.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

// Temporary names do not grow with the destination's, which may have all of its 255 bytes.
constexpr std::string_view kTemporaryStart = ".vnxtest-";
constexpr std::string_view kTemporaryEnd = ".tmp";
constexpr std::string_view kTemporaryDigits = "0123456789abcdefghijklmnopqrstuv";
constexpr std::size_t kTemporaryLength = 10; // of digits
constexpr int kAttempts = 100;
constexpr int kMostLinks = 40; // as the kernel follows (path_resolution(7))

bool IsSame(const struct stat& left, const struct stat& right) {
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

// A folder, a name in it, and the file that the name stands for now.
struct Place {
    Descriptor folder; // O_PATH
    struct stat folderStatus {};
    std::string name;
    bool exists = false;
    struct stat status {};
    bool isDescriptorLink = false; // /dev/stderr, /proc/self/fd/2: leads to an open file, not to a name
};

enum class Search { Found, Failed, LinkOfSomebodyElse };

// The rule of protected_symlinks.
bool MayFollow(const Place& place) {
    constexpr mode_t kEverybodys = S_ISVTX | S_IWOTH;
    return place.status.st_uid == geteuid() || (place.folderStatus.st_mode & kEverybodys) != kEverybodys ||
           place.status.st_uid == place.folderStatus.st_uid;
}

// The rule of protected_regular and protected_fifos, at their level 2.
bool MayReplace(const Place& place) {
    const bool protects =
        (place.folderStatus.st_mode & S_ISVTX) && (place.folderStatus.st_mode & (S_IWOTH | S_IWGRP));
    return !protects || place.status.st_uid == geteuid() || place.status.st_uid == place.folderStatus.st_uid;
}

// One step: opens the folder of `path`, relative to `place.folder`, and takes the last name in it.
bool Enter(Place& place, const std::string& path) {
    const std::size_t slash = path.rfind('/');
    place.name = path.substr(slash + 1); // npos + 1 is 0
    if (place.name.empty() || place.name == "." || place.name == "..") {
        errno = path.empty() ? ENOENT : EISDIR;
        return false;
    }
    const std::string parent = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const int from = place.folder.IsOpen() ? place.folder.Get() : AT_FDCWD;
    place.folder = Descriptor(openat(from, parent.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!place.folder.IsOpen() || fstat(place.folder.Get(), &place.folderStatus) != 0) {
        return false;
    }
    place.exists = fstatat(place.folder.Get(), place.name.c_str(), &place.status, AT_SYMLINK_NOFOLLOW) == 0;
    return place.exists || errno == ENOENT;
}

// Reads the link that was examined, not one that has replaced it since.
std::optional<std::string> ReadLink(const Place& place) {
    const Descriptor link(openat(place.folder.Get(), place.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat opened {};
    if (!link.IsOpen() || fstat(link.Get(), &opened) != 0) {
        return std::nullopt;
    }
    if (!IsSame(opened, place.status)) {
        errno = ESTALE;
        return std::nullopt;
    }
    std::string target(PATH_MAX, '\0');
    const ssize_t length = readlinkat(link.Get(), "", target.data(), target.size());
    if (length < 0) {
        return std::nullopt;
    }
    target.resize(static_cast<std::size_t>(length));
    return target;
}

// The place that `path` leads to after all links.
Search Find(const std::filesystem::path& path, Place& place) {
    std::string rest = path.native();
    for (int links = 0; links <= kMostLinks; ++links) {
        if (!Enter(place, rest)) {
            return Search::Failed;
        }
        if (!place.exists || !S_ISLNK(place.status.st_mode)) {
            return Search::Found;
        }
        struct statfs system {};
        if (fstatfs(place.folder.Get(), &system) == 0 && system.f_type == PROC_SUPER_MAGIC) {
            place.isDescriptorLink = true;
            return Search::Found;
        }
        if (!MayFollow(place)) {
            return Search::LinkOfSomebodyElse;
        }
        const std::optional<std::string> target = ReadLink(place);
        if (!target) {
            return Search::Failed;
        }
        rest = *target;
    }
    errno = ELOOP;
    return Search::Failed;
}

bool IsTemporaryName(std::string_view name) {
    return name.size() == kTemporaryStart.size() + kTemporaryLength + kTemporaryEnd.size() &&
           name.starts_with(kTemporaryStart) && name.ends_with(kTemporaryEnd) &&
           name.substr(kTemporaryStart.size(), kTemporaryLength).find_first_not_of(kTemporaryDigits) ==
               std::string_view::npos;
}

std::string TemporaryName() {
    std::random_device random;
    std::string name(kTemporaryStart);
    for (std::size_t i = 0; i < kTemporaryLength; ++i) {
        name += kTemporaryDigits[random() % kTemporaryDigits.size()];
    }
    return name.append(kTemporaryEnd);
}

// Removes the user's own temporary files without a writer, which would hold a lock on its file. Other
// users' files stay, also for root.
void RemoveLeftovers(const Descriptor& folder) {
    const int readable = openat(folder.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* const stream = readable < 0 ? nullptr : fdopendir(readable);
    if (stream == nullptr) {
        return;
    }
    while (const dirent* const entry = readdir(stream)) {
        struct stat found {};
        if (!IsTemporaryName(entry->d_name) ||
            fstatat(readable, entry->d_name, &found, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(found.st_mode) ||
            found.st_uid != geteuid()) {
            continue;
        }
        const Descriptor file(
            openat(readable, entry->d_name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        if (file.IsOpen() && flock(file.Get(), LOCK_EX | LOCK_NB) == 0) {
            unlinkat(readable, entry->d_name, 0);
        }
    }
    closedir(stream);
}

// An unnamed file that can get a name later, which needs the process's entry in /proc.
Descriptor CreateUnnamed(const Descriptor& folder, mode_t mode) {
    Descriptor file(openat(folder.Get(), ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, mode));
    struct stat own {};
    struct stat seen {};
    const std::string entry = "/proc/self/fd/" + std::to_string(file.Get());
    const bool nameable = file.IsOpen() && fstat(file.Get(), &own) == 0 && stat(entry.c_str(), &seen) == 0 &&
                          IsSame(own, seen) && flock(file.Get(), LOCK_EX | LOCK_NB) == 0;
    return nameable ? std::move(file) : Descriptor();
}

Descriptor CreateNamed(const Descriptor& folder, mode_t mode, std::string& name) {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        name = TemporaryName();
        Descriptor file(
            openat(folder.Get(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
        if (!file.IsOpen() && errno != EEXIST) {
            break;
        }
        // Before it was locked another program may have removed it as a leftover.
        struct stat status {};
        if (file.IsOpen() && flock(file.Get(), LOCK_EX | LOCK_NB) == 0 && fstat(file.Get(), &status) == 0 &&
            status.st_nlink > 0) {
            return file;
        }
    }
    name.clear();
    return {};
}

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

// Gives `file` the access of the one it will replace, as far as the writer may. The group's bits were meant
// for the old group: another one gets the permissions of others. `existing` is not open for a private file.
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

bool LinkAs(const Descriptor& file, const Descriptor& folder, const std::string& name) {
    const std::string entry = "/proc/self/fd/" + std::to_string(file.Get());
    return linkat(AT_FDCWD, entry.c_str(), folder.Get(), name.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

} // namespace

struct AtomicFile::State {
    Place place;
    Descriptor file;
    bool writtenThrough = false;
    std::string temporary; // its name in the folder; empty while it has none

    // Each returns null, or the call that failed, with errno.
    const wchar_t* OpenDirectly();
    const wchar_t* Create(FileAccess access);
    const wchar_t* PutInPlace();
};

const wchar_t* AtomicFile::State::OpenDirectly() {
    // A descriptor's link may lead to an ordinary file, whose content stays.
    const int how = place.isDescriptorLink ? O_APPEND : O_NOFOLLOW;
    file = Descriptor(openat(place.folder.Get(), place.name.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY | how));
    struct stat opened {};
    if (!file.IsOpen() || fstat(file.Get(), &opened) != 0) {
        return L"open of";
    }
    if (S_ISREG(opened.st_mode) && !place.isDescriptorLink) {
        errno = ESTALE; // was a pipe or a device a moment ago
        return L"open of";
    }
    place.status = opened;
    writtenThrough = true;
    return nullptr;
}

const wchar_t* AtomicFile::State::Create(FileAccess access) {
    Descriptor existing;
    if (place.exists && access == FileAccess::Document) {
        // Replacing a file without write permission would bypass its protection.
        existing = Descriptor(openat(place.folder.Get(), place.name.c_str(),
                                     O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        struct stat opened {};
        if (!existing.IsOpen() || fstat(existing.Get(), &opened) != 0) {
            return L"open of";
        }
        if (!IsSame(opened, place.status)) {
            errno = ESTALE;
            return L"open of";
        }
        place.status = opened;
    }
    RemoveLeftovers(place.folder);
    const bool usual = !place.exists && access == FileAccess::Document;
    const mode_t mode = usual ? 0666 : 0600; // the kernel applies the umask
    file = CreateUnnamed(place.folder, mode);
    if (!file.IsOpen()) {
        file = CreateNamed(place.folder, mode, temporary);
    }
    if (!file.IsOpen()) {
        return L"creation of a temporary file beside";
    }
    return place.exists && !TakeOverAccess(file, existing, place.status, access) ? L"fchmod of" : nullptr;
}

const wchar_t* AtomicFile::State::PutInPlace() {
    if (fsync(file.Get()) != 0) {
        return L"fsync of";
    }
    if (temporary.empty() && !place.exists && LinkAs(file, place.folder, place.name)) {
        return nullptr;
    }
    for (int attempt = 0; temporary.empty(); ++attempt) {
        const std::string name = TemporaryName();
        if (LinkAs(file, place.folder, name)) {
            temporary = name;
        } else if (errno != EEXIST || attempt == kAttempts) {
            return L"linkat of";
        }
    }
    if (renameat(place.folder.Get(), temporary.c_str(), place.folder.Get(), place.name.c_str()) != 0) {
        return L"rename of";
    }
    temporary.clear();
    return nullptr;
}

AtomicFile::AtomicFile() = default;

AtomicFile::~AtomicFile() {
    Discard();
}

bool AtomicFile::Fail(const wchar_t* call) {
    if (m_problem.empty()) {
        const int code = errno;
        m_problem =
            Sprintf(L"%s %s failed; errno=%d: %s", call, FromUtf8(m_path.native()), code, StrError(code));
    }
    return false;
}

bool AtomicFile::Refuse(const wchar_t* reason) {
    m_problem = FromUtf8(m_path.native()) + L" " + reason;
    Discard();
    return false;
}

bool AtomicFile::Open(const std::filesystem::path& path, FileAccess access, SpecialFiles special) {
    Discard();
    m_problem.clear();
    m_path = path;
    m_state = std::make_unique<State>();
    Place& place = m_state->place;
    switch (Find(path, place)) {
    case Search::Found:
        break;
    case Search::LinkOfSomebodyElse:
        return Refuse(
            L"is a link of another user's in a folder that everybody may write: it is not followed. Choose another place.");
    case Search::Failed:
        Fail(L"open of");
        Discard();
        return false;
    }
    const wchar_t* failed = nullptr;
    if (place.exists && S_ISDIR(place.status.st_mode)) {
        errno = EISDIR;
        failed = L"open of";
    } else if (place.exists && !S_ISREG(place.status.st_mode) && special == SpecialFiles::Refuse) {
        return Refuse(
            L"is no ordinary file but a pipe or a device, which cannot be replaced. Choose another name.");
    } else if (place.exists && !MayReplace(place) &&
               (S_ISREG(place.status.st_mode) || S_ISFIFO(place.status.st_mode))) {
        return Refuse(
            L"belongs to another user and lies in a folder that others may write, too: it is not written. Choose another place.");
    } else if (place.exists && !S_ISREG(place.status.st_mode)) {
        failed = m_state->OpenDirectly();
    } else {
        failed = m_state->Create(access);
    }
    if (failed != nullptr) {
        Fail(failed);
        Discard();
    }
    return failed == nullptr;
}

bool AtomicFile::Write(std::string_view bytes) {
    if (!IsOpen() || !m_problem.empty()) {
        return false;
    }
    while (!bytes.empty()) {
        const ssize_t written = write(m_state->file.Get(), bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            return Fail(L"write of");
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

bool AtomicFile::Commit() {
    if (!IsOpen() || !m_problem.empty()) {
        Discard();
        return false;
    }
    const wchar_t* const failed = m_state->writtenThrough ? nullptr : m_state->PutInPlace();
    const bool good = (failed == nullptr || Fail(failed)) && (m_state->file.Close() || Fail(L"close of"));
    Discard();
    return good;
}

void AtomicFile::Discard() {
    const ErrorKeeper keeper;
    if (m_state && !m_state->temporary.empty()) {
        unlinkat(m_state->place.folder.Get(), m_state->temporary.c_str(), 0);
    }
    m_state.reset();
}

bool AtomicFile::IsOpen() const {
    return m_state != nullptr;
}

bool AtomicFile::IsWrittenThrough() const {
    return IsOpen() && m_state->writtenThrough;
}

bool AtomicFile::IsSameAs(const AtomicFile& other) const {
    if (!IsOpen() || !other.IsOpen()) {
        return false;
    }
    const Place& here = m_state->place;
    const Place& there = other.m_state->place;
    if (here.exists || there.exists) {
        return here.exists && there.exists && IsSame(here.status, there.status);
    }
    return here.name == there.name && IsSame(here.folderStatus, there.folderStatus);
}

bool AtomicFile::IsSameAs(const std::filesystem::path& path) const {
    if (!IsOpen()) {
        return false;
    }
    const Place& place = m_state->place;
    struct stat status {};
    if (place.exists) {
        return stat(path.c_str(), &status) == 0 && IsSame(status, place.status);
    }
    const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : ".";
    return path.filename() == place.name && stat(folder.c_str(), &status) == 0 &&
           IsSame(status, place.folderStatus);
}

bool AtomicFile::IsSameAs(std::FILE* stream) const {
    struct stat status {};
    return IsOpen() && m_state->place.exists && fstat(fileno(stream), &status) == 0 &&
           S_ISREG(status.st_mode) && IsSame(status, m_state->place.status);
}

std::filesystem::path AtomicFile::TemporaryPath() const {
    return IsOpen() && !m_state->temporary.empty() ? m_path.parent_path() / m_state->temporary
                                                   : std::filesystem::path();
}

} // namespace vnxtest
