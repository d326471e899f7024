// The system's name resolution, for IPv4.
#pragma once

#include <string>
#include <string_view>

#include "wrenlib/address.h"

namespace vnxtest {

// getaddrinfo for `name`, IPv4 only: the first address. False with the system's text for the failure
// in `errorText`. Blocks for as long as the system's resolver does. Any thread.
bool ResolveIpv4Name(std::wstring_view name, Ipv4Address& address, std::wstring& errorText);

} // namespace vnxtest
