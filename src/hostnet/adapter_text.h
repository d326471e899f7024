// The texts of an adapter entry, for whoever shows adapters.
//
// All functions may run on any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "wrenpack/wrenpack.h"

namespace vnxtest {

// Trimmed and made visible (wrenlib/visible_text.h): these name no adapter to the system.
struct AdapterTexts {
    std::wstring connection;
    std::wstring name; // AdapterName
    std::wstring description;
    std::wstring mac;
    std::wstring medium;
    std::wstring linkSpeed;
    std::wstring address; // "0.0.0.0" when it has none; the same below
    std::wstring mask;
    std::wstring gateway;
    std::wstring dhcp;        // "Yes", "No", or "unknown" where the system does not tell
    std::wstring promiscuous; // the same
};

// `library` is the one the entry came from.
AdapterTexts GetAdapterTexts(const ADAPTER_INFO_LIST_ENTRY& entry, const WrenPackLibrary& library);

// A speed in units of 100 bit/s as "999.9 Mbps" or "1.0 Gbps"; 0 is "0.0 Mbps (unknown)".
std::wstring LinkSpeedText(std::uint32_t speed);

// The name of an NDIS_MEDIUM value; "NdisMediumUnknown" from 20 on.
std::wstring_view GetNdisMediumName(std::uint32_t medium);

} // namespace vnxtest
