#include <atomic>
#include <cerrno>
#include <cstring>

#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include "open/packet_filter.h"
#include "vnetx/capture.h"
#include "vnetx/descriptor_linux.h"
#include "vnetx/failure.h"
#include "vnetx/packet_ring_linux.h"

namespace vnxtest {
namespace {

PacketSocketKind KindOf(CaptureOptions::Wanted wanted) {
    switch (wanted) {
    case CaptureOptions::Wanted::ArpReplies:
        return PacketSocketKind::Arp;
    case CaptureOptions::Wanted::ReverseArpReplies:
        return PacketSocketKind::ReverseArp;
    case CaptureOptions::Wanted::Guest:
        break;
    }
    return PacketSocketKind::Guest;
}

bool AttachFilter(int socket, PacketFilter filter) {
    const sock_fprog program = filter.Program();
    return setsockopt(socket, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) == 0;
}

// The index of the adapter `device` if frames can be had from it, else 0 with errno.
std::uint32_t UsableAdapter(int socket, const std::string& device) {
    ifreq request{};
    if (device.size() >= sizeof request.ifr_name) {
        errno = ENODEV;
        return 0;
    }
    std::memcpy(request.ifr_name, device.data(), device.size());
    if (ioctl(socket, SIOCGIFFLAGS, &request) != 0) {
        return 0;
    }
    if ((request.ifr_flags & IFF_UP) == 0) {
        errno = ENETDOWN;
        return 0;
    }
    if (ioctl(socket, SIOCGIFHWADDR, &request) != 0) {
        return 0;
    }
    if (request.ifr_hwaddr.sa_family != ARPHRD_ETHER && request.ifr_hwaddr.sa_family != ARPHRD_LOOPBACK) {
        errno = EAFNOSUPPORT;
        return 0;
    }
    return ioctl(socket, SIOCGIFINDEX, &request) == 0 ? static_cast<std::uint32_t>(request.ifr_ifindex) : 0;
}

// Promiscuous, since the guest's MAC is not the adapter's.
bool BecomePromiscuous(int socket, std::uint32_t adapter) {
    packet_mreq membership{};
    membership.mr_ifindex = static_cast<int>(adapter);
    membership.mr_type = PACKET_MR_PROMISC;
    return setsockopt(socket, SOL_PACKET, PACKET_ADD_MEMBERSHIP, &membership, sizeof membership) == 0;
}

bool Bind(int socket, std::uint32_t adapter, std::uint16_t protocol) {
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_ifindex = static_cast<int>(adapter);
    address.sll_protocol = htons(protocol);
    return bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

class RingCapture final : public Capture {
public:
    RingCapture(Descriptor socket, std::unique_ptr<PacketRing> ring, std::uint32_t adapter, MacAddress guest)
        : m_socket(std::move(socket)), m_ring(std::move(ring)), m_adapter(adapter), m_guest(guest) {
        Dropped(); // what did not fit before there was a ring is no loss
        m_dropped.store(0);
    }

    int Dispatch(int count, FrameHandler handler, void* user) override {
        return m_ring->Dispatch(count, handler, user);
    }

    bool Restart(MacAddress guest) override {
        if (guest != m_guest &&
            !AttachFilter(m_socket.Get(), PacketFilter(PacketSocketKind::Guest, m_adapter, guest))) {
            Fail(errno);
            return false;
        }
        m_guest = guest;
        TakeSocketError();
        m_error.store(0);
        return true;
    }

    WaitObject GetWaitObject() const override { return m_socket.Get(); }

    // The kernel tells it once; the reader and who watches for it both want to know.
    int Error() override {
        if (const int code = TakeSocketError(); code != 0) {
            m_error.store(code);
        }
        return m_error.load();
    }

    // The kernel begins anew with each question, which takes its counts away from it at once.
    std::optional<std::uint64_t> Dropped() override {
        tpacket_stats counts{};
        socklen_t size = sizeof counts;
        if (getsockopt(m_socket.Get(), SOL_PACKET, PACKET_STATISTICS, &counts, &size) != 0) {
            return std::nullopt;
        }
        return m_dropped.fetch_add(counts.tp_drops) + counts.tp_drops;
    }

private:
    int TakeSocketError() const {
        int code = 0;
        socklen_t size = sizeof code;
        return getsockopt(m_socket.Get(), SOL_SOCKET, SO_ERROR, &code, &size) == 0 ? code : 0;
    }

    int TrySend(const void* frame, std::uint32_t length) override {
        const ssize_t sent = send(m_socket.Get(), frame, length, MSG_DONTWAIT);
        if (sent == static_cast<ssize_t>(length)) {
            return 0;
        }
        if (sent >= 0) {
            errno = EIO;
        }
        return -1;
    }

    const Descriptor m_socket;
    const std::unique_ptr<PacketRing> m_ring; // gone before the socket
    const std::uint32_t m_adapter;
    MacAddress m_guest;
    std::atomic<int> m_error{0};
    std::atomic<std::uint64_t> m_dropped{0};
};

} // namespace

std::unique_ptr<Capture> Capture::Open(const CaptureOptions& options) {
    // Without a protocol it receives nothing until everything is set.
    Descriptor socket(::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0));
    const std::uint32_t adapter = socket ? UsableAdapter(socket.Get(), options.device) : 0;
    if (adapter == 0) {
        Fail(errno);
        return nullptr;
    }
    // Spares a copy of each frame that this host sends; an older kernel leaves them to the filter.
    const int on = 1;
    setsockopt(socket.Get(), SOL_PACKET, PACKET_IGNORE_OUTGOING, &on, sizeof on);
    const PacketSocketKind kind = KindOf(options.wanted);
    std::unique_ptr<PacketRing> ring;
    if (!AttachFilter(socket.Get(), PacketFilter(kind, adapter, options.guest)) ||
        !(ring = PacketRing::Make(socket.Get(), options.snapshotLength, options.bufferSize)) ||
        !BecomePromiscuous(socket.Get(), adapter) || !Bind(socket.Get(), adapter, ProtocolOf(kind))) {
        Fail(errno);
        return nullptr;
    }
    return std::make_unique<RingCapture>(std::move(socket), std::move(ring), adapter, options.guest);
}

} // namespace vnxtest
