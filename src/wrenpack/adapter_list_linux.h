// The host adapters of Linux: the Ethernet-like links that libpcap can capture on.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "wrenpack/wrenpack.h"

namespace vnxtest {

// The packet driver's prefix that stands before the interface name in AdapterName.
inline constexpr wchar_t kAdapterPrefix[] = L"NPF_";
inline constexpr std::size_t kAdapterPrefixLength = 4;

// The facts of adapters by the adapter's index.
using FactsByIndex = std::unordered_map<std::uint32_t, AdapterFacts>;

// One entry per link with Ethernet framing (physical, wireless, VLAN, bridge, bond, veth, tap; up or
// down; not lo), in the order of their indexes, not linked yet. Of several with one MAC address the one that
// is meant by it (wrenlib/adapter_rank.h) stands first. 0, or the errno value of the failure.
std::uint32_t ListAdapters(std::vector<ADAPTER_INFO_LIST_ENTRY>& entries, FactsByIndex& facts);

} // namespace vnxtest
