// What the kernel knows of its neighbours' MAC addresses. Linux only. Any thread; nothing is kept.
#pragma once

#include <cstdint>
#include <optional>

#include "wrenlib/address.h"

namespace vnxtest {

struct KernelNeighbour {
    std::optional<MacAddress> mac; // nullopt if none is usable
    bool failed = false;           // the kernel's own ARP exchange had no answer
};

// The entry for `address` on the link of this index; an empty one if there is none or the table cannot be
// read.
KernelNeighbour FindNeighbour(Ipv4Address address, std::uint32_t link);

} // namespace vnxtest
