// The host adapters of the IP helper: the list if WrenPack64UD.dll is not installed.
#pragma once

#include <vector>

#include "wrenlib/failure.h"
#include "wrenpack/host_adapter.h"

namespace vnxtest {

// Every Ethernet or wireless adapter; its identifier is the instance's. Whether it can be promiscuous is
// left open: the packet driver tells that. User-interface thread.
Result<std::vector<HostAdapter>> ReadAdapters();

} // namespace vnxtest
