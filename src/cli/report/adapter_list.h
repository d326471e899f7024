// Names and lists of the host adapters in the terminal program. Main thread.
#pragma once

#include <string>
#include <string_view>

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

// The list as a table, one line an adapter, ended by "\n"; a sentence if there is none.
std::wstring AdapterTable(const HostNetwork& host);

// The list as JSON (docs/json.md), ended by a line end, UTF-8.
std::string AdapterJson(const HostNetwork& host);

} // namespace vnxtest
