// Unfinished files: unnamed if the file system has such files, else with a temporary name. All by the
// descriptor of their folder. Linux only.
#pragma once

#include <string>

#include <sys/types.h>

#include "wrenlib/descriptor_linux.h"

namespace vnxtest {

// The number of temporary names that are tried.
inline constexpr int kTemporaryNames = 100;

// An unnamed file that can get a name later, which needs the process's entry in /proc.
// Not open if it cannot be had.
Descriptor CreateUnnamed(const Descriptor& folder, mode_t mode);

// A file with a temporary name, which is put into `name`. Not open, with errno, on failure.
Descriptor CreateNamed(const Descriptor& folder, mode_t mode, std::string& name);

// A random one.
std::string TemporaryName();

// Removes the user's own temporary files without a writer, which would hold a lock on its file. Other
// users' files stay, also for root.
void RemoveLeftovers(const Descriptor& folder);

// Gives the unnamed `file` a name. False with errno.
bool LinkAs(const Descriptor& file, const Descriptor& folder, const std::string& name);

} // namespace vnxtest
