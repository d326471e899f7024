// The limit of what answering pings through a packet socket can reach on a machine: a bare loop on a receive
// ring shared with the kernel (packet_mmap(7), TPACKET_V2), no checks and no text. What vnxtest takes longer
// than this is its own.
//
// ring_responder INTERFACE IP MAC answers echo requests for IP that were sent to MAC. Runs until it is
// killed. Does not speak ARP: the peer's neighbour entry is set by hand. Needs CAP_NET_RAW.

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <arpa/inet.h>
#include <linux/filter.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>

#include "mac_text.h"

namespace {

using Mac = std::array<unsigned char, ETH_ALEN>;
using Clock = std::chrono::steady_clock;

constexpr unsigned kSlotSize = 2048; // a frame of the usual MTU behind the kernel's header
constexpr unsigned kBlockSize = 64 * 1024;
constexpr unsigned kSlots = 4096;
constexpr unsigned kSlotsInBlock = kBlockSize / kSlotSize;
constexpr std::size_t kIp = sizeof(ether_header);
constexpr std::size_t kIcmp = kIp + 20;
// As the guest: waking a blocked thread costs more than an echo.
constexpr std::chrono::microseconds kSpinTime{60};

[[noreturn]] void Fail(const char* what) {
    std::perror(what);
    std::exit(2);
}

template <typename Value>
void Set(int socket, int level, int option, const Value& value, const char* what) {
    if (setsockopt(socket, level, option, &value, sizeof value) != 0) {
        Fail(what);
    }
}

// Frames for others do not reach the ring, so that this program costs those nothing but the filter.
void TakeOnlyFramesTo(int socket, const Mac& mac) {
    const std::uint32_t front = std::uint32_t{mac[0]} << 24 | std::uint32_t{mac[1]} << 16 |
                                std::uint32_t{mac[2]} << 8 | std::uint32_t{mac[3]};
    const std::uint32_t back = std::uint32_t{mac[4]} << 8 | std::uint32_t{mac[5]};
    std::array<sock_filter, 6> code = {
        {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, 0), BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, front, 0, 3),
         BPF_STMT(BPF_LD | BPF_H | BPF_ABS, 4), BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, back, 0, 1),
         BPF_STMT(BPF_RET | BPF_K, 0xFFFF), BPF_STMT(BPF_RET | BPF_K, 0)}};
    Set(socket, SOL_SOCKET, SO_ATTACH_FILTER, sock_fprog{code.size(), code.data()}, "SO_ATTACH_FILTER");
}

int OpenSocket(const char* interface, const Mac& mac) {
    const int raw = socket(AF_PACKET, SOCK_RAW, 0);
    if (raw < 0) {
        Fail("socket");
    }
    TakeOnlyFramesTo(raw, mac);
    Set(raw, SOL_PACKET, PACKET_VERSION, int{TPACKET_V2}, "PACKET_VERSION");
    Set(raw, SOL_PACKET, PACKET_QDISC_BYPASS, 1, "PACKET_QDISC_BYPASS");
    Set(raw, SOL_PACKET, PACKET_IGNORE_OUTGOING, 1, "PACKET_IGNORE_OUTGOING");
    const tpacket_req request{kBlockSize, kSlots / kSlotsInBlock, kSlotSize, kSlots};
    Set(raw, SOL_PACKET, PACKET_RX_RING, request, "PACKET_RX_RING");
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(ETH_P_IP);
    address.sll_ifindex = static_cast<int>(if_nametoindex(interface));
    // The frames go to a MAC that no adapter has, and come in because the adapter is promiscuous.
    packet_mreq membership{};
    membership.mr_ifindex = address.sll_ifindex;
    membership.mr_type = PACKET_MR_PROMISC;
    Set(raw, SOL_PACKET, PACKET_ADD_MEMBERSHIP, membership, interface);
    if (bind(raw, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        Fail("bind");
    }
    return raw;
}

// Makes an echo request for `ip` its reply, in place. False for every other frame.
bool MakeReply(unsigned char* frame, std::size_t length, const Mac& mac, in_addr ip) {
    if (length < kIcmp + 8 || frame[kIp] != 0x45 || frame[kIp + 9] != 1 || frame[kIcmp] != 8 ||
        std::memcmp(frame + kIp + 16, &ip, sizeof ip) != 0) {
        return false;
    }
    std::memcpy(frame, frame + ETH_ALEN, ETH_ALEN);
    std::memcpy(frame + ETH_ALEN, mac.data(), mac.size());
    std::memcpy(frame + kIp + 16, frame + kIp + 12, sizeof ip);
    std::memcpy(frame + kIp + 12, &ip, sizeof ip);
    frame[kIcmp] = 0;
    // Only the type has changed: the checksum grows by 0x0800 (RFC 1624).
    std::uint32_t sum = static_cast<std::uint32_t>(frame[kIcmp + 2] << 8 | frame[kIcmp + 3]) + 0x0800;
    sum = (sum & 0xFFFF) + (sum >> 16);
    frame[kIcmp + 2] = static_cast<unsigned char>(sum >> 8);
    frame[kIcmp + 3] = static_cast<unsigned char>(sum);
    return true;
}

// Until the slot is the program's: a while without a system call, then asleep.
void AwaitSlot(int socket, std::atomic_ref<std::uint32_t> status) {
    const auto isTheirs = [&status] {
        return (status.load(std::memory_order_acquire) & TP_STATUS_USER) == 0;
    };
    if (!isTheirs()) {
        return;
    }
    const auto end = Clock::now() + kSpinTime;
    do {
        for (int look = 0; look < 64; ++look) {
            if (!isTheirs()) {
                return;
            }
        }
    } while (Clock::now() < end);
    while (isTheirs()) {
        pollfd waiting{socket, POLLIN, 0};
        if (poll(&waiting, 1, -1) < 0 && errno != EINTR) {
            Fail("poll");
        }
    }
}

[[noreturn]] void Answer(int socket, unsigned char* ring, const Mac& mac, in_addr ip) {
    for (unsigned slot = 0;; slot = slot + 1 == kSlots ? 0 : slot + 1) {
        unsigned char* const bytes = ring + std::size_t{slot} * kSlotSize;
        auto* const header = reinterpret_cast<tpacket2_hdr*>(bytes);
        const std::atomic_ref<std::uint32_t> status(header->tp_status);
        AwaitSlot(socket, status);
        unsigned char* const frame = bytes + header->tp_mac;
        if (MakeReply(frame, header->tp_snaplen, mac, ip) &&
            send(socket, frame, header->tp_snaplen, 0) != static_cast<ssize_t>(header->tp_snaplen)) {
            Fail("send");
        }
        status.store(TP_STATUS_KERNEL, std::memory_order_release);
    }
}

} // namespace

int main(int argc, char** argv) {
    in_addr ip{};
    Mac mac{};
    if (argc != 4 || inet_aton(argv[2], &ip) == 0 || !ReadMac(argv[3], mac.data())) {
        std::fputs("ring_responder INTERFACE IP MAC\n", stderr);
        return 2;
    }
    const int raw = OpenSocket(argv[1], mac);
    void* const ring =
        mmap(nullptr, std::size_t{kSlots} * kSlotSize, PROT_READ | PROT_WRITE, MAP_SHARED, raw, 0);
    if (ring == MAP_FAILED) {
        Fail("mmap");
    }
    std::puts("ready");
    std::fflush(stdout);
    Answer(raw, static_cast<unsigned char*>(ring), mac, ip);
}
