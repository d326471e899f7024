// The `pcap` library: the frames of a physical adapter.
#pragma once

#include <memory>

#include "vnetx/library.h"

namespace vnxtest {

// Frames through libpcap's kind of capture: on Linux a packet socket, on Windows Npcap's wpcap.dll, bound at
// run time. Asks nothing of the system yet; what is missing shows at the first operation that needs it.
std::unique_ptr<VnetxLibrary> MakePcapLibrary();

} // namespace vnxtest
