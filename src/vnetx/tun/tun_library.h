// The `tun` library: the kernel's own TUN/TAP device. Linux only: there is no such source elsewhere.
#pragma once

#include <memory>

#include "vnetx/library.h"

namespace vnxtest {

// Asks nothing of the system yet; what is missing shows at the first operation that needs it.
std::unique_ptr<VnetxLibrary> MakeTunLibrary();

} // namespace vnxtest
