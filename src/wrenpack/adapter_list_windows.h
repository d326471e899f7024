// The host adapters as the IP helper knows them: the list where WrenPack64UD.dll is not installed.
#pragma once

#include <cstdint>
#include <vector>

#include "wrenpack/wrenpack.h"

namespace vnxtest {

// One entry per Ethernet or wireless adapter, not linked yet; AdapterName is "NPF_" and the adapter's
// instance identifier. 0, or the system's code of the failure.
std::uint32_t ListAdapters(std::vector<ADAPTER_INFO_LIST_ENTRY>& entries);

} // namespace vnxtest
