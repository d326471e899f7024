// Resolving a ping target: a host name or a dotted address to one IPv4 address.
#pragma once

#include <string>
#include <string_view>

#include "wrenlib/address.h"

namespace vnxtest {

// Resolves `name` (getaddrinfo, IPv4 only; a dotted address resolves to itself). True with the first
// address in `address`; false with the system's text in `errorText`. May block for as long as the
// system's resolver does. User-interface thread.
bool ResolveTarget(std::wstring_view name, Ipv4Address& address, std::wstring& errorText);

// The check of the target field: an empty target fails without resolving. False with the whole
// message to show ("Please enter a valid IP address or name.", after the system's text if any).
bool ValidateTarget(std::wstring_view name, Ipv4Address& address, std::wstring& message);

} // namespace vnxtest
