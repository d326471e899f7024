// The one writer of what the guest sends: echo requests and replies, ARP and RARP replies.
//
// It fills in the Ethernet header that an IP packet needs in TAP mode, writes to the virtual interface, and
// says what could not be written. Any thread.
#pragma once

#include <cstdint>
#include <span>

#include "core/interface_info.h"
#include "hostnet/host_network.h"
#include "vnetx/library.h"

namespace vnxtest {

class PacketWriter {
public:
    PacketWriter(VnetxLibrary& library, HostNetwork& host) : m_library(library), m_host(host) {}

    // Writes one IP packet. `frame` holds room for an Ethernet header (14 bytes) and the packet behind
    // it; in TAP mode the header is filled in, in place, and written too. The destination MAC is that of
    // the packet's destination when it is in the adapter's subnet and the library can resolve it; else
    // the default gateway's, when it is known; else the adapter's. Returns true when everything was
    // written; false, reported, otherwise.
    bool WritePingIPPacket(INTERFACE_INFO& info, std::span<std::uint8_t> frame);

    // Its two steps, for a caller with a lock: the first may wait for a neighbour's answer and belongs before
    // the lock, the second does not.
    void AddressPingFrame(INTERFACE_INFO& info, std::span<std::uint8_t> frame);
    bool WriteAddressedFrame(INTERFACE_INFO& info, std::span<const std::uint8_t> frame);

    // Writes the reply that `function` has made of an ARP or RARP request: exactly 42 bytes of `frame`.
    // False, reported in its name, when they were not written.
    bool WriteArpReply(INTERFACE_INFO& info, std::span<const std::uint8_t> frame, const wchar_t* function);

    VnetxLibrary& Library() const { return m_library; }

private:
    MacAddress ChooseDestination(INTERFACE_INFO& info, Ipv4Address destination);

    VnetxLibrary& m_library;
    HostNetwork& m_host;
};

} // namespace vnxtest
