// Owner, group, permission bits and access control list of a file that replaces another. Linux only.
#pragma once

#include <sys/stat.h>

#include "platform/files/atomic_file.h"
#include "wrenlib/descriptor_linux.h"

namespace vnxtest {

// Gives `file` the access of the one it will replace, as far as the writer may. The group's bits were meant
// for the old group: another one gets the permissions of others. `existing` is not open for a private file.
// False with errno.
bool TakeOverAccess(const Descriptor& file, const Descriptor& existing, const struct stat& replaced,
                    FileAccess access);

} // namespace vnxtest
