// The ARP and RARP responder of a TAP interface (RFC 826, RFC 903).
//
// Each function turns a request for the guest into its reply, in place; whoever read the frame writes it.
// What is not a request for the guest is dropped silently. Monitor thread.
#pragma once

#include <cstdint>
#include <span>

#include "core/interface_info.h"

namespace vnxtest {

// `frame` is the whole Ethernet frame as it was read. True when its first 42 bytes (kArpFrameLength) are the
// reply to be written, which is announced.
bool HandleTapARPPacket(const INTERFACE_INFO& info, std::span<std::uint8_t> frame);
bool HandleTapRARPPacket(const INTERFACE_INFO& info, std::span<std::uint8_t> frame);

} // namespace vnxtest
