// Everything that the rules look at: one plain value, gathered by the engine at one moment (guest/observe.h).
#pragma once

#include <array>
#include <optional>
#include <vector>

#include "core/ignored_pings.h"
#include "vnetx/wire_facts.h"
#include "wrenlib/address.h"

namespace vnxtest {

struct InterfaceObservations {
    int number = 1; // 1 or 2
    bool tapMode = false;
    Ipv4Address guestIp;
    MacAddress guestMac;
    std::array<IgnoredPings::Kind, kIgnoredPingKinds> ignoredPings;

    // What the library has noticed of the wire; nullopt if it does not tell.
    std::optional<WireFacts> wire;
    // The adapter cut large sends itself when the guest was started; false also if that is not known.
    bool largeSendOffload = false;

    const IgnoredPings::Kind& Ignored(IgnoredPing kind) const {
        return ignoredPings[static_cast<std::size_t>(kind)];
    }
};

struct Observations {
    std::vector<InterfaceObservations> interfaces; // those in use
    Ipv4Address pingTarget{};                      // of the last ping test; zero: none
    std::vector<Ipv4Address> gateways{};           // of the host's routes, and the one of the settings
};

} // namespace vnxtest
