// The host adapters as the IP helper knows them: the list where WrenPack64UD.dll is not installed.
#pragma once

#include <cstdint>
#include <vector>

#include "wrenpack/host_adapter.h"

namespace vnxtest {

// Every Ethernet or wireless adapter; its identifier is the instance's. Whether it can be put into
// promiscuous mode is the packet driver's to tell, and left open. Returns 0, or the system's code of the
// failure.
std::uint32_t ReadAdapters(std::vector<HostAdapter>& adapters);

} // namespace vnxtest
