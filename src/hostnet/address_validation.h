// The judgement of IP and MAC addresses that a user typed, apart from any dialog: the window shows a
// balloon where these say no, the terminal program a sentence.
//
// All functions may run on any thread.
#pragma once

#include <optional>
#include <string_view>

#include "hostnet/host_network.h"
#include "wrenlib/address.h"

namespace vnxtest {

// Four numbers from 0 to 255 with dots between them; an entry whose fields are not all filled has no such
// text.
std::optional<Ipv4Address> ValidateIPAddress(std::wstring_view text);

// A MAC address of one station: the group bit must be clear, and with `requireLocal` the locally
// administered bit set.
std::optional<MacAddress> ValidateMACAddress(std::wstring_view text, bool requireLocal);

// Besides that, the address must be that of an adapter of the list.
std::optional<Ipv4Address> ValidateAdapterIPAddress(std::wstring_view text, const HostNetwork& host);
std::optional<MacAddress> ValidateAdapterMACAddress(std::wstring_view text, const HostNetwork& host);

} // namespace vnxtest
