#include "platform/files/file_place_linux.h"

#include <cerrno>
#include <climits>
#include <optional>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/statfs.h>
#include <unistd.h>

namespace vnxtest {

namespace {

constexpr int kMostLinks = 40; // as the kernel follows (path_resolution(7))

// The rule of protected_symlinks.
bool MayFollow(const FilePlace& place) {
    constexpr mode_t kEverybodys = S_ISVTX | S_IWOTH;
    return place.status.st_uid == geteuid() || (place.folderStatus.st_mode & kEverybodys) != kEverybodys ||
           place.status.st_uid == place.folderStatus.st_uid;
}

// One step: opens the folder of `path`, relative to `place.folder`, and takes the last name in it.
bool Enter(FilePlace& place, const std::string& path) {
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
std::optional<std::string> ReadLink(const FilePlace& place) {
    const Descriptor link(openat(place.folder.Get(), place.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat opened {};
    if (!link.IsOpen() || fstat(link.Get(), &opened) != 0) {
        return std::nullopt;
    }
    if (!IsSameFile(opened, place.status)) {
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

} // namespace

bool IsSameFile(const struct stat& left, const struct stat& right) {
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

PlaceSearch FindPlace(const std::filesystem::path& path, FilePlace& place) {
    std::string rest = path.native();
    for (int links = 0; links <= kMostLinks; ++links) {
        if (!Enter(place, rest)) {
            return PlaceSearch::Failed;
        }
        if (!place.exists || !S_ISLNK(place.status.st_mode)) {
            return PlaceSearch::Found;
        }
        struct statfs system {};
        if (fstatfs(place.folder.Get(), &system) == 0 && system.f_type == PROC_SUPER_MAGIC) {
            place.isDescriptorLink = true;
            return PlaceSearch::Found;
        }
        if (!MayFollow(place)) {
            return PlaceSearch::LinkOfSomebodyElse;
        }
        const std::optional<std::string> target = ReadLink(place);
        if (!target) {
            return PlaceSearch::Failed;
        }
        rest = *target;
    }
    errno = ELOOP;
    return PlaceSearch::Failed;
}

bool MayReplace(const FilePlace& place) {
    const bool protects =
        (place.folderStatus.st_mode & S_ISVTX) && (place.folderStatus.st_mode & (S_IWOTH | S_IWGRP));
    return !protects || place.status.st_uid == geteuid() || place.status.st_uid == place.folderStatus.st_uid;
}

} // namespace vnxtest
