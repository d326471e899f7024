// Files of one run that must not be the same one.
#pragma once

#include <string>

#include "platform/files/atomic_file.h"

namespace vnxtest {

// What is wrong with the files of --output and --json, whether open or not: one file for two purposes would
// lose what it got first, and the same file can go by several paths. Empty when nothing is. `libraryName` as
// on the command line.
std::wstring FindFileClash(const AtomicFile& output, const AtomicFile& json, const std::wstring& libraryName);

} // namespace vnxtest
