// Checks of IP and MAC addresses that a user typed, without any dialog: on nullopt the window shows a
// balloon, the terminal program a sentence.
//
// All functions may run on any thread.
#pragma once

#include <optional>
#include <string_view>

#include "hostnet/host_network.h"
#include "wrenlib/address.h"

namespace vnxtest {

// The refusal of an IP address, under its title.
inline constexpr const wchar_t* kIpAddressTitle = L"IP Address";
inline constexpr const wchar_t* kInvalidIpAddress =
    L"The IP Address you entered is invalid. Please enter a valid IP address.";

// Four numbers from 0 to 255 with dots between them; nullopt for any other text, as that of a partly filled
// entry.
std::optional<Ipv4Address> ValidateIPAddress(std::wstring_view text);

// A MAC address of one station: the group bit must be clear, and with `requireLocal` the locally
// administered bit set; else nullopt.
std::optional<MacAddress> ValidateMACAddress(std::wstring_view text, bool requireLocal);

// The same, and the address must be that of an adapter of the list.
std::optional<Ipv4Address> ValidateAdapterIPAddress(std::wstring_view text, const HostNetwork& host);
std::optional<MacAddress> ValidateAdapterMACAddress(std::wstring_view text, const HostNetwork& host);

} // namespace vnxtest
