// The `tun` library: the kernel's own TUN/TAP device. Linux only: there is no such source elsewhere.
#pragma once

#include <memory>

#include "vnetx/library.h"

namespace vnxtest {

// Makes no system call; what is missing fails the first operation that needs it.
std::unique_ptr<VnetxLibrary> MakeTunLibrary();

} // namespace vnxtest
