// What the kernel knows of its neighbours' MAC addresses. Linux only. Any thread; nothing is kept.
#pragma once

#include <cstdint>
#include <optional>

#include "wrenlib/address.h"

namespace vnxtest {

struct KernelNeighbour {
    std::optional<MacAddress> mac; // nullopt while there is none that could be used
    bool failed = false;           // the kernel has asked in vain
};

// What the kernel knows of `address` on the link of this index; neither of the two where it knows nothing.
KernelNeighbour FindNeighbour(Ipv4Address address, std::uint32_t link);

} // namespace vnxtest
