// What an open interface of a built-in library has noticed of its wire: plain values, beside the frames it
// hands out and the counters of the contract.
//
// Times are milliseconds since the interface was first brought up.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "wrenlib/address.h"

namespace vnxtest {

// Another station says in ARP that it has the guest's IP address (RFC 5227).
struct AddressInUse {
    MacAddress by;       // the station that was heard last; the guest's own MAC if it has that, too
    bool probed = false; // it has answered the probe
    std::uint64_t times = 0;
    std::chrono::milliseconds first{};
};

// Frames from the guest's MAC that the guest cannot have sent.
struct MacInUse {
    Ipv4Address by;              // the IP address that the last one names as its sender; zero: none
    std::uint16_t etherType = 0; // of the last one
    std::uint64_t times = 0;
    std::chrono::milliseconds first{};
};

// An address that was asked for by ARP and has not answered since.
struct SilentStation {
    Ipv4Address address;
    std::uint64_t questions = 0; // whole exchanges without an answer
    bool answeredBefore = false;
};

// What an adapter lacked, to the next if more than one.
struct LinkTrouble {
    std::uint32_t times = 0;           // 0: never
    std::chrono::milliseconds first{}; // when it was seen first
    std::chrono::milliseconds total{}; // how long altogether
    bool lasting = false;              // it is so still
};

// Frames for the guest that were longer than the adapter's MTU allows, which no wire carries: the
// adapter or the kernel has joined several.
struct BeyondMtu {
    std::uint64_t frames = 0;
    std::uint32_t longest = 0; // bytes on the wire, with the Ethernet header
    std::uint32_t mtu = 0;
};

// Pings for the guest, and questions for its MAC, that came with a VLAN tag and that the library itself
// dropped for it: in TUN mode.
struct TaggedFrames {
    std::uint64_t frames = 0;
    Ipv4Address from; // the sender of the last one
};

struct WireFacts {
    std::optional<AddressInUse> addressInUse;
    std::optional<MacInUse> macInUse;
    std::vector<SilentStation> silent;
    LinkTrouble noCarrier; // the adapter is up
    LinkTrouble down;
    LinkTrouble gone;
    BeyondMtu beyondMtu;
    TaggedFrames tagged;

    // Of a guest behind the host's kernel with an address of the adapter's subnet: whether the host answers
    // ARP for others on the adapter. Nullopt if that does not matter, or is not known.
    std::optional<bool> hostAnswersArp;
};

} // namespace vnxtest
