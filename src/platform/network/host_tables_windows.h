// Decoding of the IP helper's tables. Windows only. Any thread.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/network/host_tables.h"

namespace vnxtest {

// Decode a MIB_IPFORWARDTABLE and a MIB_IPADDRTABLE; never more rows than the buffer holds, whatever its
// count.
std::vector<HostRoute> DecodeRoutes(const std::vector<std::uint8_t>& table);
std::vector<HostAddress> DecodeAddresses(const std::vector<std::uint8_t>& table);

} // namespace vnxtest
