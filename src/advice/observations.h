// Everything that the rules look at: one plain value, gathered by the engine at one moment (guest/observe.h).
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "advice/ping_course.h"
#include "core/ignored_pings.h"
#include "vnetx/wire_facts.h"
#include "wrenlib/address.h"

namespace vnxtest {

// What is known of the kind of an adapter.
struct AdapterObservations {
    std::wstring name;
    bool connected = false;
    bool refusesPromiscuous = false; // as wireless adapters do
    bool ofVirtualMachine = false;   // by the maker's part of its MAC address
};

struct InterfaceObservations {
    int number = 1; // 1 or 2
    bool tapMode = false;
    Ipv4Address guestIp;
    MacAddress guestMac;
    Ipv4Address adapterIp; // zero, as the mask: not known
    Ipv4Address netMask;
    std::optional<AdapterObservations> adapter;
    std::array<IgnoredPings::Kind, kIgnoredPingKinds> ignoredPings;
    // Once the interface is closed; nullopt also if the library does not tell.
    std::optional<std::uint64_t> framesRead; // whatever became of them
    std::optional<std::uint64_t> droppedByDriver;
    std::uint32_t driverBuffer = 0; // Kbytes

    // What the library has noticed of the wire; nullopt if it does not tell.
    std::optional<WireFacts> wire;
    // The adapter cut large sends itself when the guest was started; false also if that is not known.
    bool largeSendOffload = false;

    const IgnoredPings::Kind& Ignored(IgnoredPing kind) const {
        return ignoredPings[static_cast<std::size_t>(kind)];
    }
    // False also if no subnet is known.
    bool IsInSubnet(Ipv4Address address) const {
        return !netMask.IsZero() && (address & netMask) == (adapterIp & netMask);
    }
};

// How a library reaches the network.
enum class LibraryKind {
    Capture, // beside the host's own traffic, at an adapter
    Device,  // through a device of the host's kernel
    Simulated,
};

struct HostObservations {
    LibraryKind library = LibraryKind::Capture;
    std::optional<bool> forwards;       // packets between its adapters; nullopt: the system does not tell
    std::optional<Ipv4Address> gateway; // zero: a default route without one
    MacAddress gatewayMac;              // zero: the gateway did not answer when it was looked for
    std::vector<Ipv4Address> addresses;
};

struct Observations {
    std::vector<InterfaceObservations> interfaces; // those in use
    Ipv4Address pingTarget{};                      // of the last ping test; zero: none
    std::vector<Ipv4Address> gateways{};           // of the host's routes, and the one of the settings
    HostObservations host{};
    // The ping test that runs, or ran last, and the number of its interface.
    std::optional<PingCourse> ping{};
    int pingInterface = 1;
    std::vector<EarlierPings> earlierPings{}; // the last few

    // The interface of a ping test that nobody has answered although there was time to; null if there is
    // none.
    const InterfaceObservations* UnansweredInterface() const;
};

} // namespace vnxtest
