// The destination of a file: a folder, held by its descriptor, a name in it, and the file that the name
// stands for. Linux only.
#pragma once

#include <filesystem>
#include <string>

#include <sys/stat.h>

#include "wrenlib/descriptor_linux.h"

namespace vnxtest {

// The same file, by whatever name.
bool IsSameFile(const struct stat& left, const struct stat& right);

// A folder, a name in it, and the file that the name stands for now.
struct FilePlace {
    Descriptor folder; // O_PATH
    struct stat folderStatus {};
    std::string name;
    bool exists = false;
    struct stat status {};
    bool isDescriptorLink = false; // /dev/stderr, /proc/self/fd/2: leads to an open file, not to a name
};

enum class PlaceSearch { Found, Failed, LinkOfSomebodyElse };

// Why a place is refused: follows the file's name.
inline constexpr const wchar_t* kLinkOfSomebodyElse =
    L"is a link of another user's in a folder that everybody may write: it is not followed. Choose another place.";
inline constexpr const wchar_t* kFileOfSomebodyElse =
    L"belongs to another user and lies in a folder that others may write, too: it is not written. Choose another place.";

// The place that `path` leads to after all links. Failed: errno is set.
PlaceSearch FindPlace(const std::filesystem::path& path, FilePlace& place);

// The rule of protected_regular and protected_fifos, at their level 2.
bool MayReplace(const FilePlace& place);

} // namespace vnxtest
