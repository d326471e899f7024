// The ARP and RARP responder of a TAP interface (RFC 826, RFC 903).
//
// Each function turns a request for the guest into its reply, in place, and writes it back to the
// interface as exactly 42 bytes. What is not a request for the guest is dropped silently; a write
// that fails is reported and not retried. Monitor thread.
#pragma once

#include <cstdint>
#include <span>

#include "core/interface_info.h"
#include "vnetx/library.h"

namespace vnxtest {

// `frame` is the whole Ethernet frame as it was read.
void HandleTapARPPacket(INTERFACE_INFO& info, VnetxLibrary& library, std::span<std::uint8_t> frame);
void HandleTapRARPPacket(INTERFACE_INFO& info, VnetxLibrary& library, std::span<std::uint8_t> frame);

} // namespace vnxtest
