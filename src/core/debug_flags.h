// The debug messages of the interface library, by the names that a user gives them.
#pragma once

#include <cstdint>
#include <string_view>

#include "vnetx/vnetx.h"

namespace vnxtest {

struct DebugFlag {
    std::string_view name;
    std::uint32_t bits;
};

inline constexpr DebugFlag kDebugFlags[] = {
    {"old-new", VNETX_DEBUG_OLD_NEW_VALUES},
    {"contents", VNETX_DEBUG_PACKET_CONTENTS},
    {"arp-read", VNETX_DEBUG_ARP_READ},
    {"arp-written", VNETX_DEBUG_ARP_WRITTEN},
    {"other-read", VNETX_DEBUG_OTHER_READ},
    {"other-written", VNETX_DEBUG_OTHER_WRITTEN},
    {"all", VNETX_DEBUG_OLD_NEW_VALUES | VNETX_DEBUG_PACKET_CONTENTS | VNETX_DEBUG_ARP_READ |
                VNETX_DEBUG_ARP_WRITTEN | VNETX_DEBUG_OTHER_READ | VNETX_DEBUG_OTHER_WRITTEN},
    {"none", 0},
};

} // namespace vnxtest
