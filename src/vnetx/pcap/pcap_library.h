// The `pcap` library: the frames of a physical adapter.
#pragma once

#include <memory>

#include "vnetx/library.h"

namespace vnxtest {

// Frames through libpcap's kind of capture: on Linux a packet socket, on Windows Npcap's wpcap.dll, bound
// at run time. Makes no system call; what is missing fails the first operation that needs it.
std::unique_ptr<VnetxLibrary> MakePcapLibrary();

} // namespace vnxtest
