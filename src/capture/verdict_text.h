// The comment of a captured frame: what became of it, in words. Any thread.
#pragma once

#include <span>
#include <string_view>

#include "capture/frame_queue.h"

namespace vnxtest {

// The longest comment.
inline constexpr std::size_t kVerdictRoom = 256;

// The comment of `frame`, whose bytes are an Ethernet frame if `isEthernet`, else an IP packet; UTF-8, made
// in `room`. Empty if nobody told what became of it.
std::string_view DescribeVerdict(const QueuedFrame& frame, bool isEthernet,
                                 std::span<char, kVerdictRoom> room);

} // namespace vnxtest
