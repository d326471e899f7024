#include <cerrno>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include "open/packet_filter.h"

namespace vnxtest {

int OpenPacketSocket(PacketSocketKind kind, std::uint32_t adapter, MacAddress guest, bool lock,
                     const char*& call) {
    // Without a protocol it receives nothing until everything is set.
    call = "socket";
    const int made = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0);
    if (made < 0) {
        return -1;
    }
    const auto set = [&](int level, int option, const auto& value, const char* name) {
        call = name;
        return setsockopt(made, level, option, &value, sizeof value) == 0;
    };
    const int on = 1;
    // Spares a copy of each frame that this host sends; an older kernel leaves them to the filter.
    set(SOL_PACKET, PACKET_IGNORE_OUTGOING, on, "PACKET_IGNORE_OUTGOING");
    PacketFilter filter(kind, adapter, guest);
    packet_mreq promiscuous{};
    promiscuous.mr_ifindex = static_cast<int>(adapter);
    promiscuous.mr_type = PACKET_MR_PROMISC;
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_ifindex = static_cast<int>(adapter);
    address.sll_protocol = htons(ProtocolOf(kind));
    const bool ready =
        set(SOL_SOCKET, SO_ATTACH_FILTER, filter.Program(), "SO_ATTACH_FILTER") &&
        (!lock || set(SOL_SOCKET, SO_LOCK_FILTER, on, "SO_LOCK_FILTER")) &&
        set(SOL_PACKET, PACKET_ADD_MEMBERSHIP, promiscuous, "PACKET_MR_PROMISC") &&
        (call = "bind", bind(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0);
    if (!ready) {
        const int code = errno;
        close(made);
        errno = code;
        return -1;
    }
    return made;
}

} // namespace vnxtest
