// What was wrong with a ping for the guest that the checks refused: more than the first check that failed.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "core/ignored_pings.h"
#include "core/interface_counts.h"
#include "wrenlib/address.h"

namespace vnxtest {

struct IgnoredKind {
    IgnoredPing kind;
    Ipv4Address sender;
    std::uint32_t detail = 0;
};

// Judges a packet that was ignored for `reason`: an Ethernet frame if that is UnknownPacket, else an IPv4
// packet, of any length and content. Nullopt if it is no ping for `guestIp` (RFC 791, RFC 792) and no
// error about what it sent, nor a tagged frame (IEEE 802.1Q) with one or with a question for its MAC address
// (RFC 826). Any thread.
std::optional<IgnoredKind> JudgeIgnored(IgnoreReason reason, std::span<const std::uint8_t> bytes,
                                        Ipv4Address guestIp);

} // namespace vnxtest
