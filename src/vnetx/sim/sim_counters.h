// The simulated LAN's own count of what it did with a guest's pings.
//
// It is independent of the interface statistics and of the ping test, so that both can be checked against
// it. Once the guest has read everything that was sent to it, a ping test of n pings to an answering
// address must report: sent = echoRequests, replies received = answeredRead, duplicate replies =
// extraRepliesRead, pings lost = echoRequests - answeredRead.
#pragma once

#include <cstdint>

namespace vnxtest {

struct SimCounters {
    std::uint64_t echoRequests = 0;   // sound ones, to an address that answers
    std::uint64_t silentRequests = 0; // sound ones, to an address that never answers

    // The fates of the replies to `echoRequests`. A lost one has no other fate; the others may
    // have several at once.
    std::uint64_t lost = 0;
    std::uint64_t duplicated = 0;
    std::uint64_t late = 0;
    std::uint64_t dontFragment = 0;
    std::uint64_t reordered = 0;
    std::uint64_t corrupted = 0;
    std::uint64_t truncated = 0;
    std::uint64_t foreign = 0;

    // As decided: requests with a good reply, and good replies beyond the first of a request. A good one is
    // whole, has the request's identifier and no Don't-Fragment bit.
    std::uint64_t answered = 0;
    std::uint64_t extraReplies = 0;
    // The same, counted when the guest has read them.
    std::uint64_t answeredRead = 0;
    std::uint64_t extraRepliesRead = 0;

    std::uint64_t repliesSent = 0; // frames, duplicates and spoilt ones included
    std::uint64_t repliesRead = 0; // of them, read by the guest
    std::uint64_t repliesHeld = 0; // not sent (yet): the guest has not answered ARP for its MAC

    std::uint64_t badPackets = 0;    // dropped by the station they were for: cut short, wrong checksum ...
    std::uint64_t otherPackets = 0;  // sound, but nothing that a station answers
    std::uint64_t undeliverable = 0; // no station or guest has the MAC, or the route leads nowhere
    std::uint64_t overflowed = 0;    // dropped unanswered: the wire to the guest is full
    std::uint64_t arpRequests = 0;   // from the guest, answered by a station
    std::uint64_t arpReplies = 0;    // from the guest, to a station that asked
    std::uint64_t pingsSent = 0;     // by the station that pings the guest
    std::uint64_t pingsAnswered = 0; // of them, answered by the guest as they should be

    SimCounters& operator+=(const SimCounters& other);
};

} // namespace vnxtest
