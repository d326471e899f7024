// Checks that the files of one run are different files.
#pragma once

#include <string>

#include "platform/files/atomic_file.h"
#include "platform/files/block_file.h"

namespace vnxtest {

// A sentence about a clash of the files of --output and --json, open or not: with each other, with standard
// output or error, the library's file or the profile, by whatever paths; one file for two purposes would
// lose its first content. Empty without a clash. `libraryName` as on the command line.
std::wstring FindFileClash(const AtomicFile& output, const AtomicFile& json, const std::wstring& libraryName);

// The same about the open file of --capture, which was named by `path`.
struct OtherFiles {
    const AtomicFile& output;
    const AtomicFile& json;
    const std::wstring& libraryName;
};
std::wstring FindCaptureClash(const BlockFile& capture, const std::filesystem::path& path,
                              const OtherFiles& others);

} // namespace vnxtest
