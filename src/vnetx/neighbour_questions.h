// What a library's open interface knows of its neighbours (SIOCGARP, SIOCGRARP), as values.
//
// Each takes as long as an exchange on the wire where the library has to ask there. Any thread.
#pragma once

#include <cstdint>
#include <optional>

#include "vnetx/library.h"
#include "wrenlib/address.h"

namespace vnxtest {

// Nullopt, with errno set, if the library does not tell.
std::optional<MacAddress> AskForMac(VnetxLibrary& library, std::int32_t handle, Ipv4Address address);
std::optional<Ipv4Address> AskForIpv4(VnetxLibrary& library, std::int32_t handle, MacAddress mac);

} // namespace vnxtest
