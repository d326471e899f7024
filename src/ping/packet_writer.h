// The one writer of what the guest sends: echo requests and replies, ARP and RARP replies.
//
// It fills in the Ethernet header that an IP packet needs in TAP mode, writes to the virtual interface, and
// reports failures. Any thread.
#pragma once

#include <cstdint>
#include <span>
#include <utility>

#include "core/interface_info.h"
#include "core/prepare_interface.h"
#include "vnetx/library.h"

namespace vnxtest {

class PacketWriter {
public:
    // `maskOf` is for a host adapter whose address becomes known while the interface runs.
    PacketWriter(VnetxLibrary& library, MaskLookup maskOf)
        : m_library(library), m_maskOf(std::move(maskOf)) {}

    // Writes one IP packet. `frame` holds room for an Ethernet header (14 bytes), then the packet; in TAP
    // mode the header is filled in, in place, and written, too. The destination MAC is that of the packet's
    // destination if it is in the adapter's subnet and the library resolves it; else the default gateway's,
    // if known; else the adapter's. True if everything was written; otherwise false, with a report.
    bool WritePingIPPacket(INTERFACE_INFO& info, std::span<std::uint8_t> frame);

    // Its two steps, for a caller with a lock: the first may wait for a neighbour's answer and is called
    // without the lock, the second does not wait.
    void AddressPingFrame(INTERFACE_INFO& info, std::span<std::uint8_t> frame);
    bool WriteAddressedFrame(INTERFACE_INFO& info, std::span<const std::uint8_t> frame);

    // Writes the reply that `function` has made of an ARP or RARP request: exactly 42 bytes of `frame`.
    // False on failure, with a report in the name of `function`.
    bool WriteArpReply(INTERFACE_INFO& info, std::span<const std::uint8_t> frame, const wchar_t* function);

private:
    MacAddress ChooseDestination(INTERFACE_INFO& info, Ipv4Address destination);

    VnetxLibrary& m_library;
    const MaskLookup m_maskOf;
};

} // namespace vnxtest
