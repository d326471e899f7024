#include "open/packet_socket.h"

#include <cerrno>

#include <arpa/inet.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <sys/socket.h>

#include "packets/arp_packet.h"

namespace vnxtest {
namespace {

constexpr sock_filter kAccept{BPF_RET | BPF_K, 0, 0, 0xFFFFFFFF}, kDrop{BPF_RET | BPF_K, 0, 0, 0};
constexpr sock_filter kSkipUnlessGroup{BPF_JMP | BPF_JSET | BPF_K, 0, 1, 0x01}; // IEEE 802

constexpr std::size_t kTo = EthernetView::kDestinationOffset, kType = EthernetView::kEtherTypeOffset;
constexpr std::size_t kOperation = EthernetView::kLength + ArpView::kOperationOffset;

constexpr sock_filter Load(int size, std::size_t offset) {
    return {static_cast<std::uint16_t>(BPF_LD | BPF_ABS | size), 0, 0, static_cast<std::uint32_t>(offset)};
}
// Loads a fact that the kernel knows about the frame.
constexpr sock_filter LoadFact(int size, int fact) {
    return Load(size, static_cast<std::uint32_t>(SKF_AD_OFF + fact));
}

// Skips `ifEqual` instructions if what is loaded equals `value`, else `ifNot`.
constexpr sock_filter Compare(std::uint32_t value, std::uint8_t ifEqual, std::uint8_t ifNot) {
    return {BPF_JMP | BPF_JEQ | BPF_K, ifEqual, ifNot, value};
}

std::uint16_t ProtocolOf(OpenKind kind) {
    return kind == OpenKind::GuestSocket ? ETH_P_ALL
           : kind == OpenKind::ArpSocket ? kEtherTypeArp
                                         : kEtherTypeRarp;
}

} // namespace

PacketFilter MakePacketFilter(OpenKind kind, std::uint32_t adapter, MacAddress guest) {
    PacketFilter code;
    const auto add = [&](std::initializer_list<sock_filter> part) { code.insert(code.end(), part); };
    add({LoadFact(BPF_B, SKF_AD_PKTTYPE), Compare(PACKET_OUTGOING, 0, 1), kDrop});
    add({LoadFact(BPF_W, SKF_AD_IFINDEX), Compare(adapter, 1, 0), kDrop});
    if (kind == OpenKind::GuestSocket) {
        add({Load(BPF_B, kTo), kSkipUnlessGroup, kAccept});
        for (const auto& mac : {guest.Bytes(), MacAddress().Bytes()}) {
            const std::uint32_t begin = Ipv4Address(mac[0], mac[1], mac[2], mac[3]).Host();
            const std::uint32_t end = Ipv4Address(0, 0, mac[4], mac[5]).Host();
            add({Load(BPF_W, kTo), Compare(begin, 0, 3), Load(BPF_H, kTo + 4), Compare(end, 0, 1), kAccept});
        }
        add({kDrop});
    } else {
        const auto reply = kind == OpenKind::ArpSocket ? ArpOperation::Reply : ArpOperation::ReverseReply;
        add({Load(BPF_H, kType), Compare(ProtocolOf(kind), 1, 0), kDrop});
        add({Load(BPF_H, kOperation), Compare(static_cast<std::uint32_t>(reply), 1, 0), kDrop, kAccept});
    }
    return code;
}

bool AttachFilter(int socket, PacketFilter filter) {
    const sock_fprog program{static_cast<std::uint16_t>(filter.size()), filter.data()};
    return setsockopt(socket, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) == 0;
}

Descriptor OpenPacketSocket(OpenKind kind, std::uint32_t adapter, MacAddress guest, bool lock,
                            const char*& call) {
    // Without a protocol it receives nothing until everything is set.
    call = "socket";
    Descriptor made(socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0));
    if (!made) {
        return {};
    }
    const auto set = [&](int level, int option, const auto& value, const char* name) {
        call = name;
        return setsockopt(made.Get(), level, option, &value, sizeof value) == 0;
    };
    const int on = 1;
    // Spares a copy of each frame that this host sends; an older kernel leaves them to the filter.
    set(SOL_PACKET, PACKET_IGNORE_OUTGOING, on, "PACKET_IGNORE_OUTGOING");
    const int index = static_cast<int>(adapter);
    const packet_mreq promiscuous{index, PACKET_MR_PROMISC, 0, {}};
    const sockaddr_ll address{AF_PACKET, htons(ProtocolOf(kind)), index, 0, 0, 0, {}};
    call = "SO_ATTACH_FILTER";
    const bool ready =
        AttachFilter(made.Get(), MakePacketFilter(kind, adapter, guest)) &&
        (!lock || set(SOL_SOCKET, SO_LOCK_FILTER, on, "SO_LOCK_FILTER")) &&
        set(SOL_PACKET, PACKET_ADD_MEMBERSHIP, promiscuous, "PACKET_MR_PROMISC") &&
        (call = "bind", bind(made.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0);
    return ready ? std::move(made) : Descriptor();
}

} // namespace vnxtest
