// The ARP and RARP responder of a TAP interface (RFC 826, RFC 903).
//
// Each function turns a request for the guest into its reply, in place; the caller writes it. Other packets
// are dropped silently. Monitor thread.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "core/interface_addresses.h"

namespace vnxtest {

// `frame` is the whole Ethernet frame as it was read from the interface `name`. True if its first 42 bytes
// (kArpFrameLength) are now the reply to be written, which a line has announced.
bool HandleTapARPPacket(const InterfaceAddresses& guest, const std::wstring& name,
                        std::span<std::uint8_t> frame);
bool HandleTapRARPPacket(const InterfaceAddresses& guest, const std::wstring& name,
                         std::span<std::uint8_t> frame);

} // namespace vnxtest
