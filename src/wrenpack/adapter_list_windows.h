// The host adapters as the IP helper knows them: the list where WrenPack64UD.dll is not installed.
#pragma once

#include <cstdint>
#include <vector>

#include "wrenpack/wrenpack.h"

namespace vnxtest {

inline constexpr std::uint32_t kNdisMediumNative802_11 = 16; // LinkType of a wireless adapter

// One entry per Ethernet or wireless adapter, not linked yet; AdapterName is "NPF_" and the adapter's
// instance identifier. PromiscuousMode is the packet driver's to tell and stays 0. Returns 0, or the system's
// code of the failure.
std::uint32_t ListAdapters(std::vector<ADAPTER_INFO_LIST_ENTRY>& entries);

} // namespace vnxtest
