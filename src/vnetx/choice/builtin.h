// The libraries that are built into the program, chosen by name.
//
// What a platform lacks is not declared away: choosing says which of them can be had where. Making one
// asks nothing of the system yet; what is missing (a capture library, a privilege) shows at the first
// operation that needs it, with the system's own errno.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "vnetx/library.h"

namespace vnxtest {

// The built-in library of this name: "pcap", "tun", "sim" or "sim:OPTIONS" (vnetx/sim/sim.h). Null and a
// sentence in `error` when it cannot be had; null and no sentence when the name is none of these.
std::unique_ptr<VnetxLibrary> MakeBuiltinLibrary(std::wstring_view name, std::wstring& error);

} // namespace vnxtest
