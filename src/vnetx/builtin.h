// The libraries that are built into the program, each as one object behind the seam.
//
// What a platform lacks is not declared away: choosing by name (open_library.cpp) says which of
// them can be had where. Making one asks nothing of the system yet; what is missing (a capture
// library, a privilege) shows at the first operation that needs it, with the system's own errno.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "vnetx/library.h"

namespace vnxtest {

// Frames of a physical adapter through libpcap (on Windows Npcap's wpcap.dll, bound at run time).
std::unique_ptr<VnetxLibrary> MakePcapLibrary();

// The kernel's own TUN/TAP device. Linux only: there is no such source elsewhere.
std::unique_ptr<VnetxLibrary> MakeTunLibrary();

// The built-in library of this name: "pcap", "tun", "sim" or "sim:OPTIONS" (vnetx/sim.h). Null and a
// sentence in `error` when it cannot be had; null and no sentence when the name is none of these.
std::unique_ptr<VnetxLibrary> MakeBuiltinLibrary(std::wstring_view name, std::wstring& error);

} // namespace vnxtest
