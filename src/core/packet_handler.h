// Takes every frame that a monitor thread reads, which knows no more about it.
#pragma once

#include <cstdint>
#include <span>

#include "core/interface_info.h"
#include "packets/ethernet.h"

namespace vnxtest {

// A packet as it was read, in a buffer that may be written to and that has room for an Ethernet
// header in front of it, so that a bare IP packet can be answered in place.
class ReceivedPacket {
public:
    static constexpr std::size_t kHeadroom = EthernetView::kLength;

    // `storage` is the headroom, followed by the packet.
    explicit ReceivedPacket(std::span<std::uint8_t> storage) : m_storage(storage) {}

    std::span<std::uint8_t> Bytes() const { return m_storage.subspan(kHeadroom); }

    // The packet without its first `count` bytes, which become part of the headroom.
    ReceivedPacket Behind(std::size_t count) const { return ReceivedPacket(m_storage.subspan(count)); }

    // The headroom and the packet as one frame: room for an Ethernet header, then the packet.
    std::span<std::uint8_t> WithHeadroom() const { return m_storage; }

private:
    std::span<std::uint8_t> m_storage;
};

class PacketHandler {
public:
    virtual ~PacketHandler() = default;

    // Takes one frame of length greater than 0 (TAP: an Ethernet frame, TUN: an IP packet) read from
    // the interface. May change the buffer. Monitor thread of the interface.
    virtual void HandleReceivedPacket(INTERFACE_INFO& info, ReceivedPacket packet) = 0;
};

} // namespace vnxtest
