// The receive ring of a packet socket (packet(7), PACKET_RX_RING), read where the kernel writes it.
//
// Slots of one length (TPACKET_V2): a frame can be taken at once, whereas a block of TPACKET_V3 waits for
// more. Setting up the ring needs no right, so the helper may have opened the socket.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "vnetx/pcap/capture.h"

namespace vnxtest {

class PacketRing {
public:
    // Makes and maps the ring of `socket`, for frames of up to `snapshotLength` bytes and of about
    // `bufferSize` bytes in all. Null with errno. The socket must outlive the ring.
    static std::unique_ptr<PacketRing> Make(int socket, std::uint32_t snapshotLength,
                                            std::uint32_t bufferSize);
    ~PacketRing();
    PacketRing(const PacketRing&) = delete;
    PacketRing& operator=(const PacketRing&) = delete;

    // Hands at most `count` frames (negative: all) to `handler` and gives their slots back; never more than
    // the ring has slots, so that it ends under any load. Their number. One thread at a time.
    int Dispatch(int count, FrameHandler handler, void* user);

private:
    PacketRing(std::uint8_t* memory, std::size_t size, std::uint32_t slotSize, std::uint32_t slotsInBlock,
               std::uint32_t blockSize, std::uint32_t slots)
        : m_memory(memory), m_size(size), m_slotSize(slotSize), m_slotsInBlock(slotsInBlock),
          m_blockSize(blockSize), m_slots(slots), m_slot(memory) {}
    void Advance();

    std::uint8_t* const m_memory;
    const std::size_t m_size;
    const std::uint32_t m_slotSize, m_slotsInBlock, m_blockSize, m_slots;
    std::uint8_t* m_slot;        // the next one
    std::uint32_t m_inBlock = 0; // its place there
};

} // namespace vnxtest
