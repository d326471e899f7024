// The host adapters as the terminal program names and lists them.
#pragma once

#include <string>
#include <string_view>

#include "hostnet/host_network.h"

namespace vnxtest {

// The adapter that `text` names: its IP address, its MAC address, or its name without regard to
// case. Null when there is none.
const HostAdapter* FindAdapter(const HostNetwork& host, std::wstring_view text);

// The adapter that is opened for this one, which is of the list: adapters are opened by their IP address, and
// without one by their MAC address, which may be another's, too (a port has its bridge's).
const HostAdapter* OpenedFor(const HostNetwork& host, const HostAdapter& adapter);

// The name by which users know the adapter: the connection's, else the packet driver's without its prefix.
std::wstring AdapterDisplayName(const HostAdapter& adapter);

// The list as a table for people, one line an adapter, ended by "\n"; says so when there is none.
std::wstring AdapterTable(const HostNetwork& host);

// The list as JSON (docs/json.md), ended by a line end, UTF-8.
std::string AdapterJson(const HostNetwork& host);

} // namespace vnxtest
