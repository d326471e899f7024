// The checks of the parameters dialog, without a toolkit: the window shows refusals as balloons, the
// terminal program as messages. User-interface thread.
#pragma once

#include <optional>
#include <string>

#include "guest/front_end.h"
#include "hostnet/host_network.h"
#include "vnetx/library.h"

namespace vnxtest {

// The control that a refusal points at.
enum class ParameterField { GuestIp, GuestMac, AdapterIp, AdapterMac };

// Refusals that a front end with names for adapters has, too.
inline constexpr const wchar_t* kNoAdapterWithIp = L"No such host adapter exists with this IP address.";
inline constexpr const wchar_t* kNoAdapterWithMac = L"No such host adapter exists with this MAC address.";

struct ParameterRefusal {
    int interfaceIndex = 0; // 0 or 1
    ParameterField field = ParameterField::GuestIp;
    std::wstring title;
    std::wstring text;
};

// Validates in the dialog's order and completes what may be left out: `library` generates an empty guest MAC
// from the guest IP; without the second interface its four texts are emptied. The first refusal; nullopt if
// there is none.
std::optional<ParameterRefusal> CheckParameters(GuestParameters& parameters, const HostNetwork& host,
                                                VnetxLibrary& library);

} // namespace vnxtest
