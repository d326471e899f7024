// The host adapters of Linux: the Ethernet-like links that libpcap can capture on.
#pragma once

#include <vector>

#include "wrenlib/failure.h"
#include "wrenpack/host_adapter.h"

namespace vnxtest {

// Every link with Ethernet framing (physical, wireless, VLAN, bridge, bond, veth, tap; up or down; not lo),
// in the order of their indexes. Of several with one MAC address the one of lowest rank
// (wrenlib/adapter_rank.h) stands first. User-interface thread.
Result<std::vector<HostAdapter>> ReadAdapters();

} // namespace vnxtest
