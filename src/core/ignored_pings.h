// Pings for the guest that were ignored, by what was wrong with each, and who sent them: what advice rests
// on.
//
// The numbered reasons say which check failed first; this says what to tell the user. Only the monitor thread
// of the interface notes; any thread may read. No lock, no allocation.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <vector>

#include "wrenlib/address.h"

namespace vnxtest {

enum class IgnoredPing : std::uint8_t {
    RequestDontFragment, // nothing else is wrong with it
    RequestWithoutData,
    Fragment,           // of a request or a reply
    RequestWithOptions, // of the IP header
    BadIpChecksum,      // of a request or a reply, as the next two
    BadIcmpChecksum,
    VlanTagged, // or a question for the guest's MAC address
    ReplyDontFragment,
    ReplyForeign, // its identifier is not that of the guest's pings
    // ICMP errors about what the guest sent (RFC 792, RFC 1191). Their detail: the MTU that the sender names
    // (0: none), the code.
    ErrorTooLarge,
    ErrorUnreachable,
};
inline constexpr std::size_t kIgnoredPingKinds = 11;

class IgnoredPings {
public:
    static constexpr std::size_t kSenders = 3;

    // One kind, as it is now.
    struct Kind {
        std::uint64_t count = 0;
        std::vector<Ipv4Address> senders; // different ones, the last few: at most kSenders
        std::uint32_t detail = 0;         // of the last; what it is depends on the kind
    };

    // Monitor thread.
    void Note(IgnoredPing kind, Ipv4Address sender, std::uint32_t detail = 0);
    // Any thread.
    Kind Read(IgnoredPing kind) const;
    // Not while the interface is open.
    void Clear();

private:
    struct Slot {
        std::atomic<std::uint64_t> count{0};
        std::atomic<std::uint32_t> detail{0};
        std::atomic<std::uint32_t> known{0}; // different senders so far, as far as they are remembered
        std::array<std::atomic<std::uint32_t>, kSenders> senders{};
    };
    std::array<Slot, kIgnoredPingKinds> m_slots;
};

} // namespace vnxtest
