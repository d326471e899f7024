// The host adapters of Linux: the Ethernet-like links that libpcap can capture on.
#pragma once

#include <cstdint>
#include <vector>

#include "wrenpack/wrenpack.h"

namespace vnxtest {

// The packet driver's prefix that stands before the interface name in AdapterName.
inline constexpr wchar_t kAdapterPrefix[] = L"NPF_";
inline constexpr std::size_t kAdapterPrefixLength = 4;

// unused1372[0] of an entry of this list: the DHCP field is known, or it could not be found out.
inline constexpr std::uint8_t kDhcpKnown = 0, kDhcpUnknown = 1;

// One entry per link with Ethernet framing (physical, wireless, VLAN, bridge, bond, veth, tap; up or
// down; not lo), in the order of their indexes, not linked yet. 0, or the errno value of the failure.
std::uint32_t ListAdapters(std::vector<ADAPTER_INFO_LIST_ENTRY>& entries);

} // namespace vnxtest
