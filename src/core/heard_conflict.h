// Another station that says in ARP that it has the guest's address (RFC 5227, section 2.4), as a TAP guest
// hears it by itself: for libraries that do not tell (vnetx/wire_facts.h).
//
// Only the monitor thread of the interface hears; any thread may read. No lock, no allocation.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>
#include <span>

#include "core/interface_addresses.h"
#include "vnetx/wire_facts.h"

namespace vnxtest {

class HeardConflict {
public:
    // The interface is about to be opened: nothing was heard, and the time begins. Not while it is open.
    void Clear();
    // An ARP frame from the wire, with its Ethernet header; may be cut short. Monitor thread.
    void Hear(const InterfaceAddresses& guest, std::span<const std::uint8_t> frame);
    // Nullopt if there was no such station. Any thread.
    std::optional<AddressInUse> Read() const;

private:
    using Clock = std::chrono::steady_clock;

    Clock::time_point m_begin{};
    std::atomic<std::uint64_t> m_by{0}; // the six bytes of the last station's MAC
    std::atomic<std::int64_t> m_first{0};
    std::atomic<std::uint64_t> m_times{0}; // written last
};

} // namespace vnxtest
