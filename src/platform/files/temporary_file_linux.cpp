#include "platform/files/temporary_file_linux.h"

#include <cerrno>
#include <cstddef>
#include <random>
#include <string_view>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/files/file_place_linux.h"

namespace vnxtest {

namespace {

// Temporary names do not grow with the destination's, which may have all of its 255 bytes.
constexpr std::string_view kTemporaryStart = ".vnxtest-";
constexpr std::string_view kTemporaryEnd = ".tmp";
constexpr std::string_view kTemporaryDigits = "0123456789abcdefghijklmnopqrstuv";
constexpr std::size_t kTemporaryLength = 10; // of digits

bool IsTemporaryName(std::string_view name) {
    return name.size() == kTemporaryStart.size() + kTemporaryLength + kTemporaryEnd.size() &&
           name.starts_with(kTemporaryStart) && name.ends_with(kTemporaryEnd) &&
           name.substr(kTemporaryStart.size(), kTemporaryLength).find_first_not_of(kTemporaryDigits) ==
               std::string_view::npos;
}

} // namespace

std::string TemporaryName() {
    std::random_device random;
    std::string name(kTemporaryStart);
    for (std::size_t i = 0; i < kTemporaryLength; ++i) {
        name += kTemporaryDigits[random() % kTemporaryDigits.size()];
    }
    return name.append(kTemporaryEnd);
}

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

Descriptor CreateUnnamed(const Descriptor& folder, mode_t mode) {
    Descriptor file(openat(folder.Get(), ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, mode));
    struct stat own {};
    struct stat seen {};
    const std::string entry = "/proc/self/fd/" + std::to_string(file.Get());
    const bool nameable = file.IsOpen() && fstat(file.Get(), &own) == 0 && stat(entry.c_str(), &seen) == 0 &&
                          IsSameFile(own, seen) && flock(file.Get(), LOCK_EX | LOCK_NB) == 0;
    return nameable ? std::move(file) : Descriptor();
}

Descriptor CreateNamed(const Descriptor& folder, mode_t mode, std::string& name) {
    for (int attempt = 0; attempt < kTemporaryNames; ++attempt) {
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

bool LinkAs(const Descriptor& file, const Descriptor& folder, const std::string& name) {
    const std::string entry = "/proc/self/fd/" + std::to_string(file.Get());
    return linkat(AT_FDCWD, entry.c_str(), folder.Get(), name.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

} // namespace vnxtest
