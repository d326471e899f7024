// The texts of an adapter for the report, the window and the terminal.
//
// All functions may run on any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "wrenpack/host_adapter.h"

namespace vnxtest {

// Trimmed and made visible (wrenlib/visible_text.h), for people only: the system may not know an adapter by
// them.
struct AdapterTexts {
    std::wstring connection;
    std::wstring name; // the packet driver's
    std::wstring description;
    std::wstring mac;
    std::wstring medium;
    std::wstring linkSpeed;
    std::wstring address; // "0.0.0.0" if it has none; the same below
    std::wstring mask;
    std::wstring gateway;
    std::wstring dhcp;        // "Yes", "No", or "unknown" if the system does not tell
    std::wstring promiscuous; // the same
};

AdapterTexts GetAdapterTexts(const HostAdapter& adapter);

// A speed in bits per second as "999.9 Mbps" or "1.0 Gbps"; nullopt is "0.0 Mbps (unknown)".
std::wstring LinkSpeedText(std::optional<std::uint64_t> speed);

// The name of an NDIS_MEDIUM value; "NdisMediumUnknown" from 20 on.
std::wstring_view GetNdisMediumName(std::uint32_t medium);

} // namespace vnxtest
