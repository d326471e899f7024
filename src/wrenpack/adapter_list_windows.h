// The host adapters of the IP helper: the list if WrenPack64UD.dll is not installed.
#pragma once

#include <cstdint>
#include <vector>

#include "wrenpack/host_adapter.h"

namespace vnxtest {

// Every Ethernet or wireless adapter; its identifier is the instance's. Whether it can be promiscuous is
// left open: the packet driver tells that. Returns 0, or the system's code of the failure. User-interface
// thread.
std::uint32_t ReadAdapters(std::vector<HostAdapter>& adapters);

} // namespace vnxtest
