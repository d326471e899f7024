// The system's name resolution, for IPv4.
#pragma once

#include <string_view>

#include "wrenlib/address.h"
#include "wrenlib/failure.h"

namespace vnxtest {

// getaddrinfo for `name`, IPv4 only: the first address, or a failure that has the system's text. Blocks for
// as long as the system's resolver does. Any thread.
Result<Ipv4Address> ResolveIpv4Name(std::wstring_view name);

} // namespace vnxtest
