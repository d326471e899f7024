#include "vnetx/pcap/packet_ring_linux.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cerrno>
#include <climits>
#include <cstring>

#include <linux/if_packet.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include "packets/ethernet.h"

namespace vnxtest {
namespace {

// The kernel takes a VLAN tag out of the frame; this is the room before the frame to put it back.
constexpr std::uint32_t kTagRoom = kVlanTagLength;
constexpr std::uint32_t kAlign = TPACKET_ALIGNMENT;
// The kernel leaves at least this many bytes between its own header and the payload (tpacket_rcv).
constexpr std::uint32_t kLeastLinkHeader = 16;
constexpr std::uint32_t kLargestUsualBlock = 64 * 1024;

constexpr std::uint32_t Align(std::uint32_t size) {
    return (size + kAlign - 1) & ~(kAlign - 1);
}

// The frame as it was on the wire: with its tag, if it had one.
CapturedFrame FrameOf(std::uint8_t* slot, const tpacket2_hdr& header) {
    std::uint8_t* bytes = slot + header.tp_mac;
    CapturedFrame frame{bytes, header.tp_snaplen, header.tp_len,
                        std::int64_t{header.tp_sec} * 1'000'000'000 + header.tp_nsec};
    if ((header.tp_status & TP_STATUS_VLAN_VALID) == 0 ||
        header.tp_snaplen < EthernetView::kEtherTypeOffset) {
        return frame;
    }
    const bool typed = (header.tp_status & TP_STATUS_VLAN_TPID_VALID) != 0;
    constexpr std::size_t kHead = kTagRoom + EthernetView::kEtherTypeOffset;
    InsertVlanTag(std::span<std::uint8_t, kHead>(bytes - kTagRoom, kHead),
                  typed ? header.tp_vlan_tpid : kEtherTypeVlan, header.tp_vlan_tci);
    return {bytes - kTagRoom, frame.captured + kTagRoom, frame.length + kTagRoom, frame.arrivedUnixNs};
}

} // namespace

std::unique_ptr<PacketRing> PacketRing::Make(int socket, std::uint32_t snapshotLength,
                                             std::uint32_t bufferSize) {
    const int version = TPACKET_V2;
    const int reserve = kTagRoom;
    if (setsockopt(socket, SOL_PACKET, PACKET_VERSION, &version, sizeof version) != 0 ||
        setsockopt(socket, SOL_PACKET, PACKET_RESERVE, &reserve, sizeof reserve) != 0) {
        return nullptr;
    }
    const std::uint32_t slotSize =
        Align(Align(TPACKET2_HDRLEN) + kLeastLinkHeader + kTagRoom + snapshotLength);
    // Blocks are powers of two of pages; large ones waste less at their ends.
    const auto page = static_cast<std::uint32_t>(sysconf(_SC_PAGESIZE));
    const std::uint32_t blockSize =
        std::bit_ceil(std::max({slotSize, page, std::min(bufferSize, kLargestUsualBlock)}));
    const std::uint32_t slotsInBlock = blockSize / slotSize;
    const std::uint32_t slotsWanted = std::max(bufferSize / slotSize, 1u);
    const std::uint32_t blocks = (slotsWanted + slotsInBlock - 1) / slotsInBlock;
    tpacket_req request{};
    request.tp_block_size = blockSize;
    request.tp_block_nr = blocks;
    request.tp_frame_size = slotSize;
    request.tp_frame_nr = blocks * slotsInBlock;
    if (setsockopt(socket, SOL_PACKET, PACKET_RX_RING, &request, sizeof request) != 0) {
        return nullptr;
    }
    const std::size_t size = std::size_t{blockSize} * blocks;
    void* const memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, socket, 0);
    if (memory == MAP_FAILED) {
        return nullptr;
    }
    return std::unique_ptr<PacketRing>(new PacketRing(static_cast<std::uint8_t*>(memory), size, slotSize,
                                                      slotsInBlock, blockSize, request.tp_frame_nr));
}

PacketRing::~PacketRing() {
    munmap(m_memory, m_size);
}

// A block ends with a rest that is too short for a slot.
void PacketRing::Advance() {
    m_slot += m_slotSize;
    if (++m_inBlock == m_slotsInBlock) {
        m_inBlock = 0;
        m_slot += m_blockSize - std::size_t{m_slotsInBlock} * m_slotSize;
        if (m_slot == m_memory + m_size) {
            m_slot = m_memory;
        }
    }
}

int PacketRing::Dispatch(int count, FrameHandler handler, void* user) {
    const std::uint32_t most = count < 0 ? m_slots : std::min(m_slots, static_cast<std::uint32_t>(count));
    std::uint32_t handed = 0;
    for (; handed < most; ++handed) {
        std::uint8_t* const slot = m_slot;
        auto* const header = reinterpret_cast<tpacket2_hdr*>(slot);
        // Acquire: the kernel's writes before it handed over the slot are visible. Release below: the slot
        // has been read before it goes back.
        std::atomic_ref<std::uint32_t> status(header->tp_status);
        if ((status.load(std::memory_order_acquire) & TP_STATUS_USER) == 0) {
            break;
        }
        handler(user, FrameOf(slot, *header));
        status.store(TP_STATUS_KERNEL, std::memory_order_release);
        Advance();
    }
    return static_cast<int>(handed);
}

} // namespace vnxtest
