// The list of the host adapters as the terminal program prints it. Main thread.
#pragma once

#include <string>

#include "hostnet/host_network.h"

namespace vnxtest {

// The list as a table, one line an adapter, ended by "\n"; a sentence if there is none.
std::wstring AdapterTable(const HostNetwork& host);

// The list as JSON (docs/json.md), ended by a line end, UTF-8.
std::string AdapterJson(const HostNetwork& host);

} // namespace vnxtest
