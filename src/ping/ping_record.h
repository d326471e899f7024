// One ping of a test: its request and its outcome.
//
// A plain value of 56 bytes, copied whole in and out of the list. ICMP fields are kept as they stand in
// the packet (network order); ticks are wrenlib/ticks.h milliseconds.
#pragma once

#include <cstdint>

#include "packets/icmp_echo.h"
#include "ping/round_trip.h"

namespace vnxtest {

struct CPing {
    std::uint16_t wIcmpId = 0;
    std::uint16_t wIcmpSeq = 0;
    std::uint16_t wIcmpChecksum = 0;
    std::uint16_t wDataSize = 0;
    std::uint32_t dwSentTick = 0;
    std::uint32_t dwDeadlineTick = 0;
    std::uint32_t dwReplyTick = 0; // of the latest reply
    std::uint32_t nReplies = 0;
    std::uint32_t nTimeouts = 0;
    ClockReading sent;            // right before it was written
    std::int64_t roundTripNs = 0; // of the latest reply; only with replies

    // In the host's order.
    std::uint16_t SequenceNumber() const { return SwapNetwork16(wIcmpSeq); }
    // Neither answered nor timed out.
    bool IsUndecided() const { return nReplies == 0 && nTimeouts == 0; }
};

} // namespace vnxtest
