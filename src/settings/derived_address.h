// The guest's default address: a host number in its adapter's subnet.
#pragma once

#include <array>

#include "wrenlib/address.h"

namespace vnxtest {

// Of interface 1 and interface 2.
inline constexpr std::array<std::uint32_t, 2> kGuestHostNumbers = {111, 222};

// The derived address of the guest on this interface (0 or 1), whose adapter has this address and mask.
constexpr Ipv4Address DerivedGuestAddress(std::size_t interfaceIndex, Ipv4Address adapter, Ipv4Address mask) {
    return (adapter & mask) | (Ipv4Address::FromHost(kGuestHostNumbers[interfaceIndex]) & ~mask);
}

} // namespace vnxtest
