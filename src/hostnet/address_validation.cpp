#include "hostnet/address_validation.h"

namespace vnxtest {

std::optional<Ipv4Address> ValidateIPAddress(std::wstring_view text) {
    return ParseIPAddress(text);
}

std::optional<MacAddress> ValidateMACAddress(std::wstring_view text, bool requireLocal) {
    const std::optional<MacAddress> mac = ParseMACAddress(text);
    return mac && !mac->IsGroup() && (mac->IsLocal() || !requireLocal) ? mac : std::nullopt;
}

std::optional<Ipv4Address> ValidateAdapterIPAddress(std::wstring_view text, const HostNetwork& host) {
    const std::optional<Ipv4Address> address = ValidateIPAddress(text);
    return address && host.IsAdapterIP(*address) ? address : std::nullopt;
}

std::optional<MacAddress> ValidateAdapterMACAddress(std::wstring_view text, const HostNetwork& host) {
    const std::optional<MacAddress> mac = ValidateMACAddress(text, false);
    return mac && host.IsAdapterMAC(*mac) ? mac : std::nullopt;
}

} // namespace vnxtest
