#include "guest/parameters_check.h"

#include "core/interface_helpers.h"
#include "hostnet/address_validation.h"
#include "wrenlib/log.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

using Refusal = std::optional<ParameterRefusal>;

constexpr const wchar_t* kMacTitle = L"MAC Address";

Refusal Refuse(int index, ParameterField field, const wchar_t* text) {
    const bool ip = field == ParameterField::GuestIp || field == ParameterField::AdapterIp;
    return ParameterRefusal{index, field, ip ? kIpAddressTitle : kMacTitle, text};
}

// Generates the guest MAC from the guest IP if none was entered, and checks it: it must be a single
// station's and locally administered, so that it equals no real adapter's.
Refusal CheckGuestMac(InterfaceParameters& parameters, int index, VnetxLibrary& library) {
    if (parameters.guestMacText.empty()) {
        const std::optional<Ipv4Address> ip = ParseIPAddress(parameters.guestIpText);
        if (Verify(ip.has_value())) {
            parameters.guestMacText = FormatMACAddr(GuestMacOf(library, *ip));
        }
    }
    if (!ValidateMACAddress(parameters.guestMacText, true)) {
        return Refuse(index, ParameterField::GuestMac,
                      L"The hardware address you entered is invalid. Please enter a valid hardware address");
    }
    return std::nullopt;
}

Refusal CheckAdapter(const InterfaceParameters& parameters, int index, const HostNetwork& host) {
    const bool haveMac = !parameters.adapterMacText.empty();
    if (parameters.adapterIpText.empty()) {
        if (!haveMac) {
            return Refuse(
                index, ParameterField::AdapterIp,
                L"You must identify which host adapter should be used by specifying either its IP address or MAC address.");
        }
        if (!ValidateAdapterMACAddress(parameters.adapterMacText, host)) {
            return Refuse(index, ParameterField::AdapterMac, kNoAdapterWithMac);
        }
        return std::nullopt;
    }
    if (haveMac) {
        return Refuse(
            index, ParameterField::AdapterMac,
            L"You must identify the host adapter by either its IP address or its MAC address, but not both.");
    }
    if (!ValidateAdapterIPAddress(parameters.adapterIpText, host)) {
        return Refuse(index, ParameterField::AdapterIp, kNoAdapterWithIp);
    }
    return std::nullopt;
}

Refusal CheckGuestIp(const InterfaceParameters& parameters, int index) {
    if (!ValidateIPAddress(parameters.guestIpText)) {
        return Refuse(index, ParameterField::GuestIp, kInvalidIpAddress);
    }
    return std::nullopt;
}

void TrimTexts(InterfaceParameters& parameters) {
    for (std::wstring* text : {&parameters.guestIpText, &parameters.guestMacText, &parameters.adapterIpText,
                               &parameters.adapterMacText}) {
        *text = TrimBlanks(*text);
    }
}

} // namespace

std::optional<ParameterRefusal> CheckParameters(GuestParameters& parameters, const HostNetwork& host,
                                                VnetxLibrary& library) {
    TrimTexts(parameters.interface1);
    TrimTexts(parameters.interface2);

    Refusal refusal = CheckGuestIp(parameters.interface1, 0);
    if (!refusal) {
        refusal = CheckGuestMac(parameters.interface1, 0, library);
    }
    if (!refusal) {
        refusal = CheckAdapter(parameters.interface1, 0, host);
    }
    if (refusal) {
        return refusal;
    }
    InterfaceParameters& second = parameters.interface2;
    if (!parameters.useTwoInterfaces) {
        const bool tapMode = second.tapMode;
        second = InterfaceParameters{};
        second.tapMode = tapMode;
        return std::nullopt;
    }
    // A second interface without a guest address is accepted here; a wrong one is not.
    if (!second.guestIpText.empty()) {
        refusal = CheckGuestIp(second, 1);
    }
    if (!refusal) {
        refusal = CheckGuestMac(second, 1, library);
    }
    if (!refusal) {
        refusal = CheckAdapter(second, 1, host);
    }
    return refusal;
}

} // namespace vnxtest
