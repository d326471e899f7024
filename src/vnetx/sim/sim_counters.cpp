#include "vnetx/sim/sim_counters.h"

#include <iterator>

namespace vnxtest {

SimCounters& SimCounters::operator+=(const SimCounters& other) {
    constexpr std::uint64_t SimCounters::*kMembers[] = {
        &SimCounters::echoRequests, &SimCounters::silentRequests,
        &SimCounters::lost,         &SimCounters::duplicated,
        &SimCounters::late,         &SimCounters::dontFragment,
        &SimCounters::reordered,    &SimCounters::corrupted,
        &SimCounters::truncated,    &SimCounters::foreign,
        &SimCounters::answered,     &SimCounters::extraReplies,
        &SimCounters::answeredRead, &SimCounters::extraRepliesRead,
        &SimCounters::repliesSent,  &SimCounters::repliesRead,
        &SimCounters::repliesHeld,  &SimCounters::badPackets,
        &SimCounters::otherPackets, &SimCounters::undeliverable,
        &SimCounters::overflowed,   &SimCounters::arpRequests,
        &SimCounters::arpReplies,   &SimCounters::pingsSent,
        &SimCounters::pingsAnswered};
    static_assert(sizeof(SimCounters) == std::size(kMembers) * sizeof(std::uint64_t));
    for (const auto member : kMembers) {
        this->*member += other.*member;
    }
    return *this;
}

} // namespace vnxtest
