// What was counted while an interface of the guest ran: by the engine, and by the library.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <optional>

#include "core/heard_conflict.h"
#include "core/ignored_pings.h"
#include "vnetx/vnetx.h"
#include "vnetx/wire_facts.h"

namespace vnxtest {

// Why a received packet was ignored. Users know the numbers.
enum class IgnoreReason : std::uint32_t {
    UnknownPacket = 0,
    TooTiny = 1,
    Fragmented = 2,
    BadIpVersion = 3,
    BadIpHeaderLength = 4,
    NotIcmp = 5,
    NotPing = 6,
    BadIcmpCode = 7,
    BadIpChecksum = 8,
    BadIcmpChecksum = 9,
    NotReplyForUs = 10,
    NotPingForUs = 11,
};
inline constexpr std::size_t kIgnoreReasons = 12;
// "Unknown packet" for 0, "(unknown)" for a number without a text.
const wchar_t* IgnoreReasonText(std::uint32_t reason);

struct InterfaceCounts {
    // Only the monitor thread writes these; any thread may read.
    std::array<std::atomic<std::uint64_t>, kIgnoreReasons> ignored{};
    std::atomic<std::uint64_t> echoRequestsAnswered{0};
    std::atomic<std::uint64_t> arpRequestsAnswered{0};
    std::atomic<std::uint64_t> rarpRequestsAnswered{0};
    IgnoredPings ignoredPings;
    HeardConflict conflict;

    // Of the last run, once its monitor thread has ended; nullopt if the library gave none.
    std::optional<VnetxStatistics> statistics;
    // Likewise: frames that the library's driver dropped unread; nullopt if the library does not tell.
    std::optional<std::uint64_t> droppedByDriver;
    // Likewise: what the library has noticed of the wire.
    std::optional<WireFacts> noticed;

    void Clear();
};

} // namespace vnxtest
