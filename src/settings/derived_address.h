// The guest's default addresses, and their sources: the IP address is a host number in its adapter's subnet.
#pragma once

#include <array>
#include <functional>
#include <optional>

#include "wrenlib/address.h"

namespace vnxtest {

// Of interface 1 and interface 2.
inline constexpr std::array<std::uint32_t, 2> kGuestHostNumbers = {111, 222};

// The derived address of the guest on this interface (0 or 1), whose adapter has this address and mask.
constexpr Ipv4Address DerivedGuestAddress(std::size_t interfaceIndex, Ipv4Address adapter, Ipv4Address mask) {
    return (adapter & mask) | (Ipv4Address::FromHost(kGuestHostNumbers[interfaceIndex]) & ~mask);
}

// An adapter of the host, as far as a guest's addresses are derived from it.
struct AdapterSubnet {
    Ipv4Address address;
    Ipv4Address mask;
};

struct AddressSources {
    std::optional<AdapterSubnet> defaultAdapter{};   // of the host; nullopt if none is known
    std::function<MacAddress(Ipv4Address)> guestMac; // the MAC address that goes with a guest's IP address
};

} // namespace vnxtest
