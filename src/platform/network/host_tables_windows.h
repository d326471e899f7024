// The IP helper's tables as they lie in its buffers, decoded. Windows only.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/network/host_tables.h"

namespace vnxtest {

// Of a MIB_IPFORWARDTABLE and a MIB_IPADDRTABLE; never more rows than the buffer holds, whatever its count
// says.
std::vector<HostRoute> DecodeRoutes(const std::vector<std::uint8_t>& table);
std::vector<HostAddress> DecodeAddresses(const std::vector<std::uint8_t>& table);

} // namespace vnxtest
