// The MAC address of a guest that was given none.
#pragma once

#include "wrenlib/address.h"

namespace vnxtest {

// A pure function of the guest's IPv4 address: 02-00-5E (locally administered), then the low three bytes of
// the address with the top bit of the first of them set, so that two guests in one /8 share a MAC only if
// their addresses differ in that bit alone. 10.0.0.4 gives 02-00-5E-80-00-04.
constexpr MacAddress BuildGuestMac(Ipv4Address ip) {
    const auto& bytes = ip.Bytes();
    return MacAddress({0x02, 0x00, 0x5E, static_cast<std::uint8_t>(bytes[1] | 0x80), bytes[2], bytes[3]});
}

} // namespace vnxtest
