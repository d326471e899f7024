// The host's adapters as a person chooses among them: found by what is typed, and listed in lines. Both
// front ends list the same. User-interface thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "hostnet/host_network.h"

namespace vnxtest {

// The adapter that `text` names by its IP address, its MAC address, or its name in any case; null if there
// is none.
const HostAdapter* FindAdapter(const HostNetwork& host, std::wstring_view text);

// The adapter that is opened for this one of the list: adapters are opened by their IP address, without one
// by their MAC address, which another may share (a port has its bridge's).
const HostAdapter* OpenedFor(const HostNetwork& host, const HostAdapter& adapter);

// The name by which users know the adapter: the connection's, else the packet driver's without its prefix.
std::wstring AdapterDisplayName(const HostAdapter& adapter);

// The list in lines of aligned columns (name, IP address, MAC address, state, description) without line
// ends: first the heading, then the adapters in their order.
std::vector<std::wstring> AdapterLines(const HostNetwork& host);

} // namespace vnxtest
