// Everything that the rules look at: one plain value, gathered by the engine at one moment (guest/observe.h).
#pragma once

#include <array>
#include <vector>

#include "core/ignored_pings.h"
#include "wrenlib/address.h"

namespace vnxtest {

struct InterfaceObservations {
    int number = 1; // 1 or 2
    bool tapMode = false;
    Ipv4Address guestIp;
    std::array<IgnoredPings::Kind, kIgnoredPingKinds> ignoredPings;

    const IgnoredPings::Kind& Ignored(IgnoredPing kind) const {
        return ignoredPings[static_cast<std::size_t>(kind)];
    }
};

struct Observations {
    std::vector<InterfaceObservations> interfaces; // those in use
};

} // namespace vnxtest
