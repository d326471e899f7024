// Counts what came for the guest with a VLAN tag (IEEE 802.1Q), which a TUN guest is not handed.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>

#include "vnetx/wire_facts.h"

namespace vnxtest {

class TagWatch {
public:
    // A whole Ethernet frame with a tag; `guest` is the guest's address. Pings for it and ARP requests for
    // its MAC count. Reading thread.
    void Hear(std::span<const std::uint8_t> frame, Ipv4Address guest);
    // Any thread.
    void AddTo(WireFacts& facts) const;

private:
    std::atomic<std::uint64_t> m_frames{0};
    std::atomic<std::uint32_t> m_from{0}; // the address's memory image
};

} // namespace vnxtest
