// The libraries that are built into the program, chosen by name.
//
// A library that this platform lacks is refused with a sentence. Making one makes no system call; what is
// missing (a capture library, a privilege) fails the first operation that needs it, with the system's
// errno.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "vnetx/library.h"

namespace vnxtest {

// The built-in library of this name: "pcap", "tun", "sim" or "sim:OPTIONS" (vnetx/sim/sim.h). A failure,
// whose text is whole sentences, when it cannot be had; null, and no failure, when the name is none of these.
Result<std::unique_ptr<VnetxLibrary>> MakeBuiltinLibrary(std::wstring_view name);

} // namespace vnxtest
