// Completing the addresses of an interface from what the host and the library know.
#pragma once

#include <cstdint>
#include <functional>

#include "core/interface_info.h"
#include "vnetx/library.h"

namespace vnxtest {

// The net mask of an address of the host; 0.0.0.0 if the host has no such address. Called on any thread while
// the guest runs.
using MaskLookup = std::function<Ipv4Address(Ipv4Address)>;

// Fills the addresses before a start: missing adapter addresses from the library (SIOCGARP, SIOCGRARP;
// failure is silent), then net mask, subnet flag and, if none is set, the broadcast address. User-interface
// thread.
void PrepareInterface(INTERFACE_INFO& info, VnetxLibrary& library, const MaskLookup& maskOf);

// Its part that a running interface repeats before it addresses a frame: missing adapter addresses and the
// net mask; `handle` is the interface's, or -1. One atomic load once both addresses are known; until then it
// may wait for an exchange on the wire, without a lock. Any thread.
void RefreshAdapterAddresses(InterfaceAddresses& addresses, std::int32_t handle, VnetxLibrary& library,
                             const MaskLookup& maskOf);

} // namespace vnxtest
